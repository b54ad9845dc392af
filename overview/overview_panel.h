#pragma once

#include <memory>
#include <optional>
#include <thread>

#include <QWidget>

#include "overview/overview_lines.h"
#include "overview/schedule_news.h"

class QLabel;

namespace Ui {
class OverviewPanel;
}

/// The quiet overview of the first page: how it stands with definitions, scans and updates, each a
/// line with a way to the page that owns it. It is looked up anew whenever it is shown; what takes
/// time comes from a thread of its own. GUI thread only.
class OverviewPanel : public QWidget {
    Q_OBJECT

public:
    explicit OverviewPanel(QWidget* parent = nullptr);
    /// Waits for the scheduler's answer, if one is under way.
    ~OverviewPanel() override;

    /// Looks everything up anew.
    void Refresh();

signals:
    void ReportsClicked();
    void ScheduleClicked();
    void UpdateClicked();
    /// The scheduler's answer is shown.
    void NewsTaken();

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void AskInBackground();
    void TakeNews(const ScheduleNews& news);
    void ShowLines();
    void ShowLine(QLabel* mark, QLabel* words, const OverviewLine& line);

    std::unique_ptr<Ui::OverviewPanel> m_ui;
    std::optional<ScheduleNews> m_news;
    std::jthread m_asker;
    bool m_isAsking = false;
};
