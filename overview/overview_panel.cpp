#include "overview/overview_panel.h"

#include <QEvent>
#include <QLabel>
#include <QStyle>

#include "ui_overview_panel.h"

#include "common/engine_version.h"
#include "common/exception_log.h"
#include "overview/mark_icon.h"
#include "reports/files/last_scan.h"

OverviewPanel::OverviewPanel(QWidget* parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::OverviewPanel>()) {
    m_ui->setupUi(this);
    connect(m_ui->btnDefinitions, &QPushButton::clicked, this, &OverviewPanel::UpdateClicked);
    connect(m_ui->btnLastScan, &QPushButton::clicked, this, &OverviewPanel::ReportsClicked);
    connect(m_ui->btnNextScan, &QPushButton::clicked, this, &OverviewPanel::ScheduleClicked);
    connect(m_ui->btnUpdates, &QPushButton::clicked, this, &OverviewPanel::UpdateClicked);
}

OverviewPanel::~OverviewPanel() = default;

void OverviewPanel::Refresh() {
    ShowLines();
    AskInBackground();
}

void OverviewPanel::AskInBackground() {
    if (m_isAsking) {
        return;
    }
    m_isAsking = true;
    m_asker = std::jthread([this] {
        ScheduleNews news;
        try {
            news = AskScheduler();
        } catch (...) {
            common::LogException("OverviewPanel: the scheduler's library");
        }
        // Not delivered any more once the panel is gone, which waits for this thread first.
        QMetaObject::invokeMethod(
            this, [this, news] { TakeNews(news); }, Qt::QueuedConnection);
    });
}

void OverviewPanel::TakeNews(const ScheduleNews& news) {
    m_asker.join();
    m_isAsking = false;
    m_news = news;
    ShowLines();
    emit NewsTaken();
}

void OverviewPanel::ShowLines() {
    const QDate today = QDate::currentDate();
    const ScheduleNews* news = m_news ? &*m_news : nullptr;
    ShowLine(m_ui->markDefinitions, m_ui->lblDefs,
             OverviewLines::Definitions(common::EngineVersion(), today));
    ShowLine(m_ui->markLastScan, m_ui->lblLastScan,
             OverviewLines::LastScan(reports::ReadLastScan(), news, today));
    ShowLine(m_ui->markNextScan, m_ui->lblNextScan, OverviewLines::NextScan(news));
    ShowLine(m_ui->markUpdates, m_ui->lblUpdates,
             OverviewLines::AutomaticUpdates(update::StoredUpdateOptions()));
}

void OverviewPanel::ShowLine(QLabel* mark, QLabel* words, const OverviewLine& line) {
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    const QString meaning = OverviewLines::Meaning(line.mark);
    mark->setPixmap(MarkIcon(line.mark).pixmap(QSize(size, size), devicePixelRatioF()));
    mark->setToolTip(meaning);
    mark->setAccessibleName(meaning);
    words->setText(line.text);
    words->setToolTip(line.text);
    // A reader of the screen comes to the words, not to the picture beside them.
    words->setAccessibleDescription(meaning);
}

void OverviewPanel::showEvent(QShowEvent* event) {
    Refresh();
    QWidget::showEvent(event);
}

void OverviewPanel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
        if (isVisible()) {
            ShowLines();
        }
    }
    QWidget::changeEvent(event);
}
