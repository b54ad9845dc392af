#include "schedule/schedule_page.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QTreeWidget>

#include "ui_schedule_page.h"

#include "common/paths.h"
#include "common/run_state.h"
#include "common/schedule_entries.h"
#include "common/text_field.h"
#include "reports/dlg_report.h"
#include "reports/files/current_report.h"
#include "schedule/dlg_schedule_scan.h"
#include "schedule/schedule_texts.h"
#include "schedule/scheduler_library.h"
#include "widgets/display_name.h"
#include "widgets/messages.h"
#include "widgets/name_label.h"

namespace {

enum Column { kName, kFrequency, kFolders };

// What a row keeps: of its first column the bytes of the scan's name and whether it starts at the
// first boot, of its second the frequency.
constexpr int kBytesRole = Qt::UserRole;
constexpr int kFirstBootRole = Qt::UserRole + 1;
constexpr int kFrequencyRole = Qt::UserRole;

// How often the page looks for news while it is shown: a scan may begin or end at any time.
constexpr int kRefreshMilliseconds = 5000;

const std::string kReportsFolder = "reports/";

std::string NameOf(const QTreeWidgetItem* row) {
    return row->data(kName, kBytesRole).toByteArray().toStdString();
}

std::string JoinedFolders(const tagSCHEDULE_SCAN_ENTRY& entry) {
    std::string joined;
    for (const tagSCAN_ITEM& folder : common::FoldersOf(entry)) {
        joined += joined.empty() ? "" : ";";
        joined += common::FieldText(folder.path);
    }
    return joined;
}

}  // namespace

SchedulePage::SchedulePage(QWidget* parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::SchedulePage>()) {
    m_ui->setupUi(this);
    QTreeWidget* list = m_ui->lstvSch;
    list->header()->setMinimumSectionSize(1);
    list->installEventFilter(this);
    list->viewport()->installEventFilter(this);
    connect(m_ui->btnNewsch, &QPushButton::clicked, this, &SchedulePage::NewClicked);
    connect(m_ui->btnModsch, &QPushButton::clicked, this, &SchedulePage::EditClicked);
    connect(m_ui->btnDelsch, &QPushButton::clicked, this, &SchedulePage::RemoveClicked);
    connect(m_ui->btnRunSch, &QPushButton::clicked, this, &SchedulePage::RunSelectedNow);
    connect(m_ui->btnRptSch, &QPushButton::clicked, this, &SchedulePage::ShowReport);
    connect(list, &QTreeWidget::itemDoubleClicked, this, &SchedulePage::RowDoubleClicked);
    connect(list, &QTreeWidget::itemSelectionChanged, this, &SchedulePage::RefreshState);
    m_refresh.setObjectName(QStringLiteral("refreshTimer"));
    m_refresh.setParent(this);
    m_refresh.setInterval(kRefreshMilliseconds);
    connect(&m_refresh, &QTimer::timeout, this, &SchedulePage::RefreshState);
}

SchedulePage::~SchedulePage() = default;

QTreeWidget* SchedulePage::List() const {
    return m_ui->lstvSch;
}

// ---- The list

void SchedulePage::Fill() {
    const bool isListed = ListTasks();
    EnableChanging(isListed && m_ui->lstvSch->topLevelItemCount() != 0);
    FitColumns();
    RefreshState();
}

bool SchedulePage::ListTasks() {
    m_readError = kScheduleOk;
    SchedulerLibrary library;
    const auto read = library.Load()
                          ? library.Find<PFNREADSCHEDULESCANTASKLIST>(kReadScheduleScanTaskList)
                          : nullptr;
    if (read == nullptr) {
        ShowWarning(this, tr("Schedule Scan"), library.Error());
        return false;
    }
    common::OwnedScheduleEntries tasks;
    unsigned int error = kScheduleOk;
    if (!read(ScheduleTaskList().c_str(), &tasks.array, getuid(), &error)) {
        m_readError = error;
        return false;
    }
    const QSignalBlocker once(m_ui->lstvSch);
    m_ui->lstvSch->clear();
    for (const tagSCHEDULE_SCAN_ENTRY& entry : common::EntriesOf(tasks.array)) {
        AddRow(entry);
    }
    return true;
}

void SchedulePage::AddRow(const tagSCHEDULE_SCAN_ENTRY& entry) {
    const std::string_view name = common::FieldText(entry.name);
    auto* row = new QTreeWidgetItem(m_ui->lstvSch);
    row->setText(kName, DisplayName(name));
    row->setData(kName, kBytesRole, QByteArray(name.data(), static_cast<qsizetype>(name.size())));
    row->setData(kName, kFirstBootRole, entry.startMode == kScheduleAtFirstBoot);
    row->setData(kFrequency, kFrequencyRole, entry.frequency);
    row->setText(kFrequency, FrequencyText(entry.frequency));
    row->setText(kFolders, DisplayName(JoinedFolders(entry)));
    for (const Column column : {kName, kFolders}) {
        row->setToolTip(column, PlainToolTip(row->text(column)));
    }
    m_ui->lstvSch->setCurrentItem(row);
}

QString SchedulePage::FrequencyText(int frequency) {
    switch (frequency) {
        case kScheduleDaily:
            return tr("Daily");
        case kScheduleWeekly:
            return tr("Weekly");
        default:
            return {};
    }
}

void SchedulePage::EnableChanging(bool on) {
    m_ui->btnModsch->setEnabled(on);
    m_ui->btnDelsch->setEnabled(on);
}

// The frequency is seen whole; names and folders share the rest and are cut in their middle.
void SchedulePage::FitColumns() {
    QHeaderView* header = m_ui->lstvSch->header();
    const int all = m_ui->lstvSch->viewport()->width();
    const int frequency = std::min(header->sectionSizeHint(kFrequency) * 5 / 4, all / 3);
    const int name = (all - frequency) * 2 / 5;
    header->resizeSection(kName, name);
    header->resizeSection(kFrequency, frequency);
    header->resizeSection(kFolders, all - frequency - name);
}

QTreeWidgetItem* SchedulePage::SelectedRow() const {
    const QList<QTreeWidgetItem*> selected = m_ui->lstvSch->selectedItems();
    return selected.isEmpty() ? nullptr : selected.first();
}

QTreeWidgetItem* SchedulePage::SelectedRowOrWarn() {
    QTreeWidgetItem* row = SelectedRow();
    if (row == nullptr) {
        ShowWarning(this, tr("Schedule Scan"), tr("Please select task from list."));
    }
    return row;
}

// ---- What the user does with it

void SchedulePage::MakeScan() {
    {
        dlgschedulescan wizard(window());
        wizard.exec();
    }
    Fill();
}

void SchedulePage::ChangeSelected() {
    const QTreeWidgetItem* row = SelectedRowOrWarn();
    if (row != nullptr && RunWizardFor(row)) {
        Fill();
    }
}

void SchedulePage::ChangeRow(const QTreeWidgetItem* row) {
    if (row != nullptr && RunWizardFor(row)) {
        RefreshState();
    }
}

bool SchedulePage::RunWizardFor(const QTreeWidgetItem* row) {
    dlgschedulescan wizard(window());
    wizard.editMode(QString::fromStdString(NameOf(row)));
    return wizard.exec() == QDialog::Accepted;
}

void SchedulePage::RemoveSelected() {
    if (m_ui->lstvSch->topLevelItemCount() == 0) {
        return;
    }
    SchedulerLibrary library;
    if (!library.Load() ||
        library.Find<PFNDELETESCHEDULESCANTASK>(kDeleteScheduleScanTask) == nullptr) {
        ShowWarning(this, tr("Schedule Scan"), library.Error());
        return;
    }
    QTreeWidgetItem* row = SelectedRowOrWarn();
    if (row != nullptr &&
        AskYesNo(this, tr("Schedule Scan"), tr("Do you want to  remove the Schedule Scan?")) &&
        DeleteTask(library, row)) {
        DropRow(row);
    }
}

bool SchedulePage::DeleteTask(SchedulerLibrary& library, const QTreeWidgetItem* row) {
    const auto remove = library.Find<PFNDELETESCHEDULESCANTASK>(kDeleteScheduleScanTask);
    unsigned int error = kScheduleOk;
    if (remove(ScheduleTaskList().c_str(), NameOf(row).c_str(), getuid(), &error)) {
        return true;
    }
    ShowWarning(this, tr("Schedule Scan"), ScheduleTexts::WhyFailed(error));
    return false;
}

void SchedulePage::DropRow(QTreeWidgetItem* row) {
    QTreeWidgetItem* neighbour = m_ui->lstvSch->itemBelow(row);
    if (neighbour == nullptr) {
        neighbour = m_ui->lstvSch->itemAbove(row);
    }
    m_ui->lstvSch->setCurrentItem(neighbour);
    delete row;
    EnableChanging(m_ui->lstvSch->topLevelItemCount() != 0);
    RefreshState();
}

// ---- How things stand

void SchedulePage::RefreshState() {
    const QTreeWidgetItem* row = SelectedRow();
    const News news = AskForNews(row);
    const bool isSilent = news.isKnown ? (news.state.flags & kScheduleServiceRuns) == 0
                                       : news.error == kScheduleServiceSilent;
    if (news.isAsked && isSilent) {
        SayNote(ScheduleTexts::NoService());
    } else if (m_readError != kScheduleOk) {
        SayNote(ScheduleTexts::WhyFailed(m_readError));
    } else {
        SayNote(news.isAsked && !news.isKnown ? ScheduleTexts::WhyFailed(news.error) : QString());
    }
    const bool hasState = news.isKnown && row != nullptr;
    if (hasState) {
        ShowState(row, news.state);
    }
    m_ui->stateArea->setVisible(hasState);
}

// A library need not have what is asked for here: then nothing is shown, and nothing said about it.
SchedulePage::News SchedulePage::AskForNews(const QTreeWidgetItem* row) {
    News news;
    SchedulerLibrary library;
    const auto getState =
        library.Load() ? library.Find<PFNGETSCHEDULETASKSTATE>(kGetScheduleTaskState) : nullptr;
    news.isAsked =
        getState != nullptr && library.Find<PFNRUNSCHEDULETASKNOW>(kRunScheduleTaskNow) != nullptr;
    if (news.isAsked) {
        const std::string name = row == nullptr ? std::string() : NameOf(row);
        news.isKnown =
            getState(ScheduleTaskList().c_str(), name.c_str(), getuid(), &news.state, &news.error);
    }
    return news;
}

void SchedulePage::ShowState(const QTreeWidgetItem* row, const tagSCHEDULE_TASK_STATE& state) {
    m_ui->lblNextRun->setText(
        ScheduleTexts::NextRun(state, row->data(kName, kFirstBootRole).toBool()));
    m_ui->lblLastRun->setText(ScheduleTexts::LastRun(state));
    m_report = common::FieldText(state.report);
    if (m_report.find('/') != std::string::npos) {
        m_report.clear();  // it is a name in the folder of the reports, and leads nowhere else
    }
    m_ui->btnRptSch->setEnabled(!m_report.empty());
    const bool isUnderWay = (state.flags & (kScheduleTaskRuns | kScheduleTaskWaits)) != 0;
    m_ui->btnRunSch->setEnabled((state.flags & kScheduleServiceRuns) != 0 && !isUnderWay);
}

void SchedulePage::SayNote(const QString& text) {
    m_ui->lblNote->setText(text);
    m_ui->lblNote->setVisible(!text.isEmpty());
}

void SchedulePage::RunSelectedNow() {
    const QTreeWidgetItem* row = SelectedRowOrWarn();
    if (row == nullptr) {
        return;
    }
    {
        SchedulerLibrary library;
        const auto run =
            library.Load() ? library.Find<PFNRUNSCHEDULETASKNOW>(kRunScheduleTaskNow) : nullptr;
        unsigned int error = kScheduleOk;
        if (run == nullptr) {
            ShowWarning(this, tr("Schedule Scan"), library.Error());
        } else if (!run(ScheduleTaskList().c_str(), NameOf(row).c_str(), getuid(), &error)) {
            ShowWarning(this, tr("Schedule Scan"), ScheduleTexts::WhyFailed(error));
        }
    }
    RefreshState();
}

void SchedulePage::ShowReport() {
    const short shownOnReportsPage = std::exchange(g_siRptKind, kScheduledReports);
    reports::SetCurrentReport(kScheduledReports,
                              common::InProductDirectory(kReportsFolder + m_report));
    dlgReport(window()).exec();
    g_siRptKind = shownOnReportsPage;
}

// ---- Events

void SchedulePage::showEvent(QShowEvent* event) {
    m_refresh.start();
    QWidget::showEvent(event);
}

void SchedulePage::hideEvent(QHideEvent* event) {
    m_refresh.stop();
    QWidget::hideEvent(event);
}

// Return changes the scan that the keys have reached.
bool SchedulePage::eventFilter(QObject* watched, QEvent* event) {
    QTreeWidget* list = m_ui->lstvSch;
    if (watched == list->viewport() && event->type() == QEvent::Resize) {
        FitColumns();
    }
    if (watched == list && event->type() == QEvent::KeyPress && list->currentItem() != nullptr) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            emit RowDoubleClicked(list->currentItem(), kName);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void SchedulePage::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
        for (int row = 0; row < m_ui->lstvSch->topLevelItemCount(); ++row) {
            QTreeWidgetItem* item = m_ui->lstvSch->topLevelItem(row);
            item->setText(kFrequency,
                          FrequencyText(item->data(kFrequency, kFrequencyRole).toInt()));
        }
        if (isVisible()) {
            RefreshState();
        }
        FitColumns();
    }
    QWidget::changeEvent(event);
}
