#include "schedule/dlg_schedule_scan.h"

#include <string>
#include <type_traits>
#include <unistd.h>

#include <QEvent>

#include "ui_dlg_schedule_scan.h"

#include "common/path_list.h"
#include "common/text_field.h"
#include "schedule/schedule_texts.h"
#include "widgets/display_name.h"
#include "widgets/dlg_dir.h"
#include "widgets/messages.h"
#include "widgets/name_label.h"
#include "widgets/whats_this_key.h"

int iEditMode = kScheduleNew;
tagSCHEDULE_SCAN_ENTRY* g_pPScheduleScanEntry = nullptr;

namespace {

constexpr int kMostDays = 90;
constexpr int kMostWeeks = 15;
constexpr int kMostMinutes = 1439;
constexpr int kMostHours = 23;

// The bytes behind the text of a folder in the list.
constexpr int kBytesRole = Qt::UserRole;

/// What the folder picker hands over, empty before and after.
class PickedFolders {
public:
    PickedFolders() { Empty(); }
    ~PickedFolders() { Empty(); }
    PickedFolders(const PickedFolders&) = delete;
    PickedFolders& operator=(const PickedFolders&) = delete;

    [[nodiscard]] static std::string Text() { return g_SchFolders; }

private:
    static void Empty() {
        g_SchFolders.clear();
        common::FreePathList(g_pPLstHead_1, g_pPLstCurr_1);
    }
};

}  // namespace

dlgschedulescan::dlgschedulescan(QWidget* parent)
    : QWizard(parent), m_ui(std::make_unique<Ui::dlgschedulescan>()) {
    iEditMode = kScheduleNew;
    g_pPScheduleScanEntry = &m_entry.record;
    m_ui->setupUi(this);
    ExplainOnF1(*this);
    ConnectControls();
    SetButtonTexts();
    init();
    LoadLib();
}

dlgschedulescan::~dlgschedulescan() {
    if (g_pPScheduleScanEntry == &m_entry.record) {
        g_pPScheduleScanEntry = nullptr;
    }
}

void dlgschedulescan::ConnectControls() {
    connect(m_ui->btnAddFolders, &QPushButton::clicked, this, &dlgschedulescan::OnAddFoldersClick);
    connect(m_ui->btnRemoveFolders, &QPushButton::clicked, this,
            &dlgschedulescan::OnRemoveFoldersClick);
    connect(m_ui->btnRemoveAll, &QPushButton::clicked, this, &dlgschedulescan::OnRemoveAllClick);
    connect(m_ui->lstScanLocation, &QListWidget::clicked, this,
            [this](const QModelIndex& index) { OnScanLocationListClick(index.row()); });
    connect(m_ui->cmbFrequency, &QComboBox::currentIndexChanged, this,
            &dlgschedulescan::OnFrequencyChange);
    connect(m_ui->rdoStartAt, &QRadioButton::clicked, this, &dlgschedulescan::OnStartAtClick);
    connect(m_ui->rdoFirstBoot, &QRadioButton::clicked, this, &dlgschedulescan::OnStartAtBootClick);
    connect(m_ui->chkRepeat, &QCheckBox::toggled, this, &dlgschedulescan::OnRepScnCheckChange);
    connect(m_ui->cmbRepeatUnit, &QComboBox::currentIndexChanged, this,
            &dlgschedulescan::OnRepScnComboChange);
}

// The toolkit has no keys for all of these, and its own words in its own language.
void dlgschedulescan::SetButtonTexts() {
    setButtonText(BackButton, tr("< &Back"));
    setButtonText(NextButton, tr("&Next >"));
    setButtonText(FinishButton, tr("&Finish"));
    setButtonText(CancelButton, tr("&Cancel"));
}

void dlgschedulescan::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
        SetButtonTexts();
        OnFrequencyChange(m_ui->cmbFrequency->currentIndex());
        if (currentId() == kSummaryPage) {
            ShowSummary();
        }
    }
    QWizard::changeEvent(event);
}

int dlgschedulescan::exec() {
    return m_isUsable ? QWizard::exec() : static_cast<int>(Rejected);
}

// ---- The library

int dlgschedulescan::LoadLib() {
    const auto find = [this](auto& function, const char* name) {
        function = m_library.Find<std::remove_reference_t<decltype(function)>>(name);
        return function != nullptr;
    };
    m_isUsable = m_library.Load() && find(m_scheduler.validateName, kValidateTaskName) &&
                 find(m_scheduler.add, kAddScheduleScanTask) &&
                 find(m_scheduler.validateFolder, kValidateDirectoryPath) &&
                 find(m_scheduler.getDetails, kGetScheduleScanTaskDetails) &&
                 find(m_scheduler.modify, kModifyScheduleScanTask);
    if (m_isUsable) {
        return 0;
    }
    ShowWarning(parentWidget(), tr("Schedule Scan"), m_library.Error());
    CloseLib();
    return 1;
}

void dlgschedulescan::CloseLib() {
    m_scheduler = {};
    m_library.Unload();
    m_isUsable = false;
}

bool dlgschedulescan::OnTaskNameChange() {
    const std::string name = m_ui->edtScanName->text().toStdString();
    unsigned int error = kScheduleOk;
    if (m_scheduler.validateName(name.c_str(), 1, getuid(), &error)) {
        return true;
    }
    ShowWarning(this, tr("Schedule Scan"), ScheduleTexts::NameRefused(error));
    return false;
}

void dlgschedulescan::editMode(const QString& name) {
    if (!m_isUsable) {
        return;
    }
    iEditMode = kScheduleEdit;
    common::CopyToField(m_entry.record.name, name.toStdString());
    unsigned int error = kScheduleOk;
    if (!m_scheduler.getDetails(ScheduleTaskList().c_str(), &m_entry.record, getuid(), &error)) {
        ShowWarning(parentWidget(), tr("Schedule Scan"), ScheduleTexts::WhyFailed(error));
        return;
    }
    ShowRecord();
}

void dlgschedulescan::accept() {
    const bool isNew = iEditMode == kScheduleNew;
    const tagSCHEDULE_SCAN_ENTRY* record = &m_entry.record;
    unsigned int error = kScheduleOk;
    const bool isKept =
        isNew ? m_scheduler.add(ScheduleTaskList().c_str(), record, &error)
              : m_scheduler.modify(ScheduleTaskList().c_str(), record, getuid(), &error);
    if (isKept) {
        const QString name = ScheduleTexts::ShortName(common::FieldText(record->name));
        ShowInformation(this, tr("Schedule Scan"),
                        isNew ? tr("Schedule Scan %1 is added successfully.").arg(name)
                              : tr("Schedule Scan %1 modified successfully.").arg(name));
    } else {
        ShowWarning(this, tr("Schedule Scan"),
                    isNew ? tr("Schedule Scan is not added") : tr("Schedule Scan is not modified"),
                    ScheduleTexts::WhyFailed(error));
    }
    CloseLib();
    QWizard::accept();
}

void dlgschedulescan::reject() {
    CloseLib();
    QWizard::reject();
}

// ---- From page to page

bool dlgschedulescan::validateCurrentPage() {
    if (currentId() == kFoldersPage && iEditMode == kScheduleNew) {
        return OnTaskNameChange();
    }
    if (currentId() == kTimesPage) {
        OnNextBtnClick();
    }
    return true;
}

void dlgschedulescan::OnNextBtnClick() {
    // The name of a scan that is changed is the one it has.
    if (iEditMode == kScheduleNew) {
        common::CopyToField(m_entry.record.name, m_ui->edtScanName->text().toStdString());
    }
    TakeTimes();
    TakeOptions();
    AddScheduleDir();
    m_entry.record.userId = getuid();
    ShowSummary();
}

// ---- The folders

void dlgschedulescan::OnAddFoldersClick() {
    const PickedFolders picked;
    if (dlgDir(this).exec() != Accepted) {
        return;
    }
    const std::string text = PickedFolders::Text();
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t end = rest.find(';');
        if (!TakeFolder(rest.substr(0, end))) {
            break;
        }
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    if (m_ui->lstScanLocation->count() != 0) {
        m_ui->lstScanLocation->setCurrentRow(0);
    }
    EnableRemoving();
}

bool dlgschedulescan::TakeFolder(std::string_view path) {
    const std::string name(path);
    unsigned int error = kScheduleOk;
    if (!m_scheduler.validateFolder(name.c_str(), &error)) {
        if (error == kScheduleFoldersRefused) {
            return false;
        }
        ShowWarning(this, tr("Schedule Scan"), ScheduleTexts::FolderRefused(path, error));
        return true;
    }
    // Of the real user, as whom the folder is scanned.
    if (access(name.c_str(), R_OK | X_OK) != 0) {
        ShowWarning(this, tr("Schedule Scan"),
                    ScheduleTexts::FolderRefused(path, kScheduleFolderForbidden));
        return true;
    }
    if (m_ui->lstScanLocation->count() >= static_cast<int>(kMaxScheduleFolders)) {
        ShowWarning(this, tr("Schedule Scan"), tr("You cannot add more than 100 scan items."));
        return false;
    }
    AppendFolder(path);
    return true;
}

void dlgschedulescan::AppendFolder(std::string_view path) {
    const QString shown = DisplayName(path);
    auto* item = new QListWidgetItem(shown, m_ui->lstScanLocation);
    item->setToolTip(PlainToolTip(shown));
    item->setData(kBytesRole, QByteArray(path.data(), static_cast<qsizetype>(path.size())));
}

void dlgschedulescan::AddScheduleDir() {
    common::FreeFolders(m_entry.record);
    for (int row = 0; row < m_ui->lstScanLocation->count(); ++row) {
        const QByteArray path = m_ui->lstScanLocation->item(row)->data(kBytesRole).toByteArray();
        common::AddFolder(m_entry.record, path.toStdString());
    }
}

void dlgschedulescan::OnRemoveFoldersClick() {
    const QList<QListWidgetItem*> selected = m_ui->lstScanLocation->selectedItems();
    if (selected.isEmpty()) {
        ShowWarning(this, tr("Schedule Scan"), tr("Please select item from list to remove."));
        return;
    }
    delete selected.first();
    EnableRemoving();
}

void dlgschedulescan::OnRemoveAllClick() {
    m_ui->lstScanLocation->clear();
    EnableRemoving();
}

void dlgschedulescan::OnScanLocationListClick(int row) {
    m_ui->lstScanLocation->setCurrentRow(row);
}

void dlgschedulescan::EnableRemoving() {
    const bool hasFolders = m_ui->lstScanLocation->count() != 0;
    if (!hasFolders && m_ui->btnRemoveAll->hasFocus()) {
        m_ui->btnAddFolders->setFocus();  // not to the page, where no key leads on
    }
    m_ui->btnRemoveAll->setEnabled(hasFolders);
}

// ---- The times

void dlgschedulescan::OnFrequencyChange(int frequency) {
    const bool isWeekly = frequency == kScheduleWeekly;
    m_ui->lblInterval->setText(isWeekly ? tr("Every weekdays(s):") : tr("Every day(s):"));
    m_ui->spnInterval->setAccessibleName(m_ui->lblInterval->text());
    m_ui->spnInterval->setRange(1, isWeekly ? kMostWeeks : kMostDays);
    m_ui->cmbWeekday->setEnabled(isWeekly);
}

void dlgschedulescan::OnStartAtClick() {
    m_ui->timStart->setEnabled(true);
}

void dlgschedulescan::OnStartAtBootClick() {
    m_ui->timStart->setEnabled(false);
}

void dlgschedulescan::OnRepScnCheckChange() {
    m_ui->spnRepeat->setEnabled(m_ui->chkRepeat->isChecked());
    m_ui->cmbRepeatUnit->setEnabled(m_ui->chkRepeat->isChecked());
}

void dlgschedulescan::OnRepScnComboChange(int unit) {
    m_ui->spnRepeat->setRange(1, unit == 0 ? kMostMinutes : kMostHours);
}
