#include "app/dlg_main.h"

#include <QApplication>
#include <QCloseEvent>
#include <QCursor>
#include <QKeyEvent>
#include <QMimeData>
#include <QShortcut>
#include <QTreeWidget>

#include "ui_dlg_main.h"

#include "common/engine_version.h"
#include "common/scan_options_file.h"
#include "help/dlg_help.h"
#include "overview/overview_panel.h"
#include "update/update_now.h"
#include "widgets/messages.h"

dlgMain::dlgMain() : m_ui(std::make_unique<Ui::dlgMain>()) {
    m_ui->setupUi(this);
    m_ui->navigation->setBackgroundRole(QPalette::Base);
    m_ui->divider->setForegroundRole(QPalette::Mid);
    setAcceptDrops(true);
    ConnectButtons();
    ConnectPages();
    connect(new QShortcut(QKeySequence(Qt::Key_F1), this), &QShortcut::activated, this,
            &dlgMain::ExplainPage);
    MarkCurrentPage();
    init();
}

dlgMain::~dlgMain() {
    delete m_viewer;
    destroy();
}

void dlgMain::ConnectButtons() {
    connect(m_ui->btnScan, &QToolButton::clicked, this, &dlgMain::OnScnClick);
    connect(m_ui->btnOptions, &QToolButton::clicked, this, &dlgMain::OnOptClick);
    connect(m_ui->btnReports, &QToolButton::clicked, this, &dlgMain::OnRptClick);
    connect(m_ui->btnUpdate, &QToolButton::clicked, this, &dlgMain::OnUpdtClicked);
    connect(m_ui->btnSchedule, &QToolButton::clicked, this, &dlgMain::OnSchClick);
    connect(m_ui->btnAbout, &QToolButton::clicked, this, &dlgMain::OnAbtClick);
    connect(m_ui->btnHelp, &QToolButton::clicked, this, &dlgMain::OnHelpClick);
    connect(m_ui->btnExit, &QToolButton::clicked, this, &dlgMain::close);
}

void dlgMain::ConnectPages() {
    connect(m_ui->scanPage, &ScanPage::FoldersClicked, this, &dlgMain::OnScnDirClick);
    connect(m_ui->scanPage, &ScanPage::FileClicked, this, &dlgMain::OnScnFlClick);

    const OverviewPanel* overview = m_ui->scanPage->Overview();
    connect(overview, &OverviewPanel::ReportsClicked, this, &dlgMain::OnRptClick);
    connect(overview, &OverviewPanel::ScheduleClicked, this, &dlgMain::OnSchClick);
    connect(overview, &OverviewPanel::UpdateClicked, this, &dlgMain::OnUpdtClicked);

    const SettingsPage* settings = m_ui->settingsPage;
    connect(settings, &SettingsPage::ArchivesToggled, this, &dlgMain::OnScnCmpChkd);
    connect(settings, &SettingsPage::AdwareToggled, this, &dlgMain::OnScnadspChkd);
    connect(settings, &SettingsPage::DumbToggled, this, &dlgMain::OnScndmbChkd);
    connect(settings, &SettingsPage::PackedToggled, this, &dlgMain::OnScnPackChkd);
    connect(settings, &SettingsPage::ActionChanged, this, &dlgMain::OnActChange);
    connect(settings, &SettingsPage::SaveClicked, this, &dlgMain::OnSaveOptsClick);
    connect(settings, &SettingsPage::CancelClicked, this, &dlgMain::OnCnclSvClick);

    ConnectUpdatePage();
    ConnectSchedulePage();
    connect(m_ui->aboutPage, &AboutPage::UrlClicked, this, &dlgMain::OnUrlClicked);

    const ReportsPage* reports = m_ui->reportsPage;
    connect(reports, &ReportsPage::KindChosen, this, &dlgMain::OnReportToggle);
    connect(reports, &ReportsPage::ShowClicked, this, &dlgMain::OnRptShwClick);
    connect(reports, &ReportsPage::DeleteClicked, this, &dlgMain::OnRptDelClick);
    connect(
        reports, &ReportsPage::RowDoubleClicked, this,
        [this](QTreeWidgetItem* row, int column) { OnRptRwDblClick(row, QCursor::pos(), column); });
    connect(reports, &ReportsPage::RowClicked, this, [this](QTreeWidgetItem* row, int column) {
        OnRptRwClick(Qt::LeftButton, m_ui->reportsPage->List()->indexOfTopLevelItem(row), column,
                     QCursor::pos());
    });
}

void dlgMain::ConnectUpdatePage() {
    const UpdatePage* update = m_ui->updatePage;
    connect(update, &UpdatePage::AutomaticToggled, this, &dlgMain::OnEnableApplyBtn);
    connect(update, &UpdatePage::BackupToggled, this, &dlgMain::OnBkupChecked);
    connect(update, &UpdatePage::CentreToggled, this, &dlgMain::IntCentreSelected);
    connect(update, &UpdatePage::SourceChanged, this, &dlgMain::UpdateChange);
    connect(update, &UpdatePage::TextChanged, this, &dlgMain::EnableApplyOnTxtChange);
    connect(update, &UpdatePage::PathClicked, this, &dlgMain::OnUpdtPathClicked);
    connect(update, &UpdatePage::BackupFolderClicked, this, &dlgMain::OnBkupFolderClicked);
    connect(update, &UpdatePage::InternetSettingsClicked, this, &dlgMain::OnIntSettingClicked);
    connect(update, &UpdatePage::UpdateNowClicked, this, &dlgMain::OnUpdateNowClick);
    connect(update, &UpdatePage::CancelClicked, this, &dlgMain::OnCancelUpdClick);
    connect(update, &UpdatePage::ApplyClicked, this, &dlgMain::OnApplyOptClick);
}

void dlgMain::ConnectSchedulePage() {
    const SchedulePage* schedule = m_ui->schedulePage;
    connect(schedule, &SchedulePage::NewClicked, this, &dlgMain::OnNewSchClick);
    connect(schedule, &SchedulePage::EditClicked, this, &dlgMain::OnEditSchClick);
    connect(schedule, &SchedulePage::RemoveClicked, this, &dlgMain::OnRemoveSchClick);
    connect(schedule, &SchedulePage::RowDoubleClicked, this,
            [this](QTreeWidgetItem* row, int column) {
                OnSchScnRwDblClick(row, QCursor::pos(), column);
            });
}

// ---- Pages and guards

void dlgMain::ShowPage(Page page) {
    m_ui->pages->setCurrentIndex(page);
    MarkCurrentPage();
}

void dlgMain::MarkCurrentPage() {
    const int current = m_ui->pages->currentIndex();
    m_ui->btnScan->setChecked(current == kScanPage);
    m_ui->btnOptions->setChecked(current == kSettingsPage);
    m_ui->btnReports->setChecked(current == kReportsPage);
    m_ui->btnUpdate->setChecked(current == kUpdatePage);
    m_ui->btnAbout->setChecked(current == kAboutPage);
    m_ui->btnSchedule->setChecked(current == kSchedulePage);
}

bool dlgMain::SettlePages() {
    if (!SaveOrNot()) {
        OnOptClick();
        return false;
    }
    if (!ApplyNetSettingsOrNot()) {
        OnUpdtClicked();
        return false;
    }
    return true;
}

bool dlgMain::SaveOrNot() {
    if (!m_ui->settingsPage->HasChanges()) {
        return true;
    }
    switch (AskYesNoCancel(this, tr("Corvane Settings"), tr("Do you want to save the changes?"))) {
        case Answer::kYes:
            OnSaveOptsClick();
            return true;
        case Answer::kNo:
            OnCnclSvClick();
            return true;
        case Answer::kCancel:
            break;
    }
    ShowPage(kSettingsPage);
    return false;
}

bool dlgMain::ApplyNetSettingsOrNot() {
    if (!m_ui->updatePage->HasChanges()) {
        return true;
    }
    switch (AskYesNoCancel(this, tr("Corvane Settings"), tr("Do you want to save the changes?"))) {
        case Answer::kYes:
            return OnApplyOptClick();
        case Answer::kNo:
            OnCancelUpdClick();
            return true;
        case Answer::kCancel:
            break;
    }
    return false;
}

void dlgMain::OnScnClick() {
    if (!SettlePages()) {
        return;
    }
    m_ui->btnScan->setFocus();
    ShowPage(kScanPage);
}

void dlgMain::OnOptClick() {
    if (!m_passwordLock.Ask(this)) {
        return;
    }
    if (!ApplyNetSettingsOrNot()) {
        m_passwordLock.ReleaseLibrary();
        OnUpdtClicked();
        return;
    }
    m_passwordLock.KeepLibrary();
    ShowPage(kSettingsPage);
}

void dlgMain::OnRptClick() {
    if (SaveOrNot() && ApplyNetSettingsOrNot()) {
        ShowPage(kReportsPage);
        m_ui->reportsPage->Fill();
    }
}

void dlgMain::OnUpdtClicked() {
    // Who is sent back to the page that is in front has been asked when it was opened.
    if (m_ui->pages->currentIndex() == kUpdatePage) {
        MarkCurrentPage();
        return;
    }
    if (!m_passwordLock.Ask(this)) {
        return;
    }
    if (!SaveOrNot()) {
        m_passwordLock.ReleaseLibrary();
        return;
    }
    m_passwordLock.KeepLibrary();
    ShowPage(kUpdatePage);
}

void dlgMain::OnSchClick() {
    if (SaveOrNot() && ApplyNetSettingsOrNot()) {
        m_ui->schedulePage->Fill();
        ShowPage(kSchedulePage);
    }
}

void dlgMain::OnAbtClick() {
    if (SaveOrNot() && ApplyNetSettingsOrNot()) {
        ShowPage(kAboutPage);
        m_ui->aboutPage->ShowVersion(common::EngineVersion());
    }
}

void dlgMain::closeEvent(QCloseEvent* event) {
    event->setAccepted(SettlePages());
    if (event->isAccepted()) {
        CloseViewers();
    }
}

bool dlgMain::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_ui->reportsPage->List() && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Delete) {
        OnRptDelClick();
    }
    return QWidget::eventFilter(watched, event);
}

// ---- The scan page

void dlgMain::OnScnDirClick() {
    m_ui->scanPage->ScanFolders();
}
void dlgMain::OnScnFlClick() {
    m_ui->scanPage->ScanFile();
}

// What is dropped anywhere on the window is scanned, unless a dialog is in front.
void dlgMain::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) {
        event->acceptProposedAction();
    }
}
void dlgMain::dropEvent(QDropEvent* event) {
    // The drag has to end before a dialog is opened: the program it came from waits for that.
    const QList<QUrl> places = event->mimeData()->urls();
    event->acceptProposedAction();
    QMetaObject::invokeMethod(
        this, [this, places] { ScanDropped(places); }, Qt::QueuedConnection);
}
void dlgMain::ScanDropped(const QList<QUrl>& places) {
    if (QApplication::activeModalWidget() == nullptr) {
        m_ui->scanPage->ScanDropped(places);
    }
}

// ---- The settings page

bool dlgMain::LoadScnOptions(PSCNOPTS options) {
    return common::LoadScanOptionsFile(options);
}
void dlgMain::OnScnCmpChkd() {
    m_ui->settingsPage->NoteChange();
}
void dlgMain::OnScnadspChkd() {
    m_ui->settingsPage->NoteChange();
}
void dlgMain::OnScndmbChkd() {
    m_ui->settingsPage->NoteChange();
}
void dlgMain::OnScnPackChkd() {
    m_ui->settingsPage->NoteChange();
}
void dlgMain::OnActChange() {
    m_ui->settingsPage->NoteChange();
}
void dlgMain::OnSaveOptsClick() {
    m_ui->settingsPage->Save();
}
void dlgMain::OnCnclSvClick() {
    m_ui->settingsPage->Reload();
}

// ---- The reports page

void dlgMain::OnReportToggle() {
    m_ui->reportsPage->TakeKind();
}
void dlgMain::OnRptShwClick() {
    m_ui->reportsPage->ShowSelected();
}
void dlgMain::OnRptRwDblClick(QTreeWidgetItem* row, const QPoint& /*position*/, int /*column*/) {
    m_ui->reportsPage->ShowRow(row);
}
// A single click only selects.
void dlgMain::OnRptRwClick(int /*button*/, int /*row*/, int /*column*/,
                           const QPoint& /*position*/) {}
void dlgMain::OnRptDelClick() {
    m_ui->reportsPage->DeleteSelected();
}
void dlgMain::DelEntry() {
    m_ui->reportsPage->RewriteIndex();
}

// ---- The update page

void dlgMain::OnUpdateNowClick() {
    if (!ApplyNetSettingsOrNot()) {
        OnUpdtClicked();
        return;
    }
    UpdateNow(this).Run();
    m_ui->updatePage->RefreshStatus();
}

void dlgMain::LoadUpdtOptions() {
    m_ui->updatePage->Reload();
}
void dlgMain::updateUiChange(P_UPDTOPTS options) {
    if (options != nullptr) {
        m_ui->updatePage->ShowRecord(*options);
    }
}
void dlgMain::IntCentreSelected(bool selected) {
    m_ui->updatePage->TakeCentre(selected);
}
void dlgMain::OnBkupChecked(bool checked) {
    m_ui->updatePage->TakeBackup(checked);
}
// A box that was cleared is a change like one that was ticked.
void dlgMain::OnEnableApplyBtn(bool /*checked*/) {
    m_ui->updatePage->NoteChange();
}
void dlgMain::UpdateChange() {
    m_ui->updatePage->NoteChange();
}
void dlgMain::EnableApplyOnTxtChange() {
    m_ui->updatePage->NoteChange();
}
void dlgMain::OnCancelUpdClick() {
    LoadUpdtOptions();
}
bool dlgMain::OnApplyOptClick() {
    return m_ui->updatePage->Apply();
}
void dlgMain::OnUpdtPathClicked() {
    m_ui->updatePage->ChoosePath();
}
void dlgMain::OnBkupFolderClicked() {
    m_ui->updatePage->ChooseBackupFolder();
}
void dlgMain::OnIntSettingClicked() {
    m_ui->updatePage->OpenInternetSettings();
}

// ---- The schedule page

void dlgMain::OnNewSchClick() {
    m_ui->schedulePage->MakeScan();
}
void dlgMain::OnEditSchClick() {
    m_ui->schedulePage->ChangeSelected();
}
void dlgMain::OnRemoveSchClick() {
    m_ui->schedulePage->RemoveSelected();
}
void dlgMain::OnSchScnRwDblClick(QTreeWidgetItem* row, const QPoint& /*position*/, int /*column*/) {
    m_ui->schedulePage->ChangeRow(row);
}

// ---- The about page

void dlgMain::OnUrlClicked() {
    m_ui->aboutPage->OpenWebSite();
}

// ---- Texts

void dlgMain::languageChange() {
    m_ui->retranslateUi(this);
}

void dlgMain::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        languageChange();
    }
    QWidget::changeEvent(event);
}
