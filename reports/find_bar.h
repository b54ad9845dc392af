#pragma once

#include <memory>
#include <vector>

#include <QTimer>
#include <QWidget>

class ReportView;

namespace Ui {
class FindBar;
}

/// A line to search a report with: every match is counted as soon as the typing pauses, and F3 and
/// Shift+F3 go round them. Letters match in both cases. GUI thread only.
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

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void CountMatches();
    void CountAndShowFirst();
    void Step(int direction);
    void ShowCurrent();
    void SayCount();
    void Close();

    std::unique_ptr<Ui::FindBar> m_ui;
    ReportView* m_view;
    QTimer m_pause;
    std::vector<qsizetype> m_matches;  // where each begins in the text
    std::ptrdiff_t m_current = -1;     // the match gone to last
};
