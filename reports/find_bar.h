#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include <QTimer>
#include <QWidget>

#include "reports/report_search.h"

class ReportView;

namespace Ui {
class FindBar;
}

/// A line to search a report with: every match is counted as soon as the typing pauses, and F3 and
/// Shift+F3 go round them. Letters match in both cases. A large report is searched a piece at a
/// time; what is pressed meanwhile is done when all is counted. GUI thread only.
class FindBar : public QWidget {
    Q_OBJECT

public:
    /// Searches `view`, which outlives this.
    explicit FindBar(ReportView* view, QWidget* parent = nullptr);
    ~FindBar() override;

    /// Puts the bar's parts between two widgets of its window in the tab order.
    void TabBetween(QWidget* before, QWidget* after);

    /// Shows the bar with the text selected, ready to type over.
    void Open();

    /// Goes to the next or the previous match, round the ends. Opens the bar when nothing is
    /// searched for yet.
    void FindNext();
    void FindPrevious();

    /// The view shows another report: its matches are counted anew, but not gone to.
    void ReportChanged();

    /// The search that the bar shows the count of.
    [[nodiscard]] const ReportSearch& Search() const { return m_search; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // What is done when all matches are counted.
    enum class Goal { kNone, kFirst, kNext, kPrevious };

    void CountMatches(Goal goal);
    void CountSome();
    void Step(Goal goal);
    void Go(Goal goal);
    void SayCount();
    void Close();

    std::unique_ptr<Ui::FindBar> m_ui;
    ReportView* m_view;
    QTimer m_pause;
    QTimer m_counting;
    ReportSearch m_search;
    Goal m_goal = Goal::kNone;
    std::optional<std::size_t> m_current;  // the match gone to last
};
