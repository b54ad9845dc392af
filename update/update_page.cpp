#include "update/update_page.h"

#include <sys/stat.h>

#include <QEvent>
#include <QFileDialog>
#include <QStyle>

#include "ui_update_page.h"

#include "common/engine_version.h"
#include "common/paths.h"
#include "common/profile.h"
#include "common/text_field.h"
#include "common/users.h"
#include "update/definitions_status.h"
#include "update/dlg_int_set.h"
#include "update/edited_text.h"
#include "update/run/status_library.h"
#include "update/update_daemon.h"
#include "widgets/messages.h"

namespace {

constexpr auto kTitle = "Corvane";
constexpr auto kUpdateTitle = "Rapid Update";

// What the product holds about the updates in force no longer counts once they change.
void ForgetFeature() {
    const std::string path = common::InProductDirectory("section.ini");
    std::uint32_t error = 0;
    WritePrivateProfileStringEx("FEATURE_GUID", "FID_8", "", path.c_str(), &error);
}

}  // namespace

UpdatePage::UpdatePage(QWidget* parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::UpdatePage>()) {
    m_ui->setupUi(this);
    // Room for one line that is wrapped: a layout does not count on that by itself.
    m_ui->statusTexts->setMinimumHeight(3 * fontMetrics().lineSpacing() +
                                        m_ui->statusTextsLayout->spacing());
    connect(m_ui->chkAutoUpdate, &QCheckBox::toggled, this, &UpdatePage::AutomaticToggled);
    connect(m_ui->chkBackup, &QCheckBox::toggled, this, &UpdatePage::BackupToggled);
    connect(m_ui->rdoPath, &QRadioButton::toggled, this,
            [this](bool isPath) { emit CentreToggled(!isPath); });
    connect(m_ui->rdoInternet, &QRadioButton::toggled, this, &UpdatePage::SourceChanged);
    connect(m_ui->rdoServer, &QRadioButton::toggled, this, &UpdatePage::SourceChanged);
    connect(m_ui->edtUpdtPath, &QLineEdit::textChanged, this, &UpdatePage::TextChanged);
    connect(m_ui->edtBkupFolder, &QLineEdit::textChanged, this, &UpdatePage::TextChanged);
    connect(m_ui->btnUpdtPath, &QPushButton::clicked, this, &UpdatePage::PathClicked);
    connect(m_ui->btnBkupFolder, &QPushButton::clicked, this, &UpdatePage::BackupFolderClicked);
    connect(m_ui->btnIntSetting, &QPushButton::clicked, this, &UpdatePage::InternetSettingsClicked);
    connect(m_ui->btnUpdateNow, &QPushButton::clicked, this, &UpdatePage::UpdateNowClicked);
    connect(m_ui->btnCancelUpd, &QPushButton::clicked, this, &UpdatePage::CancelClicked);
    connect(m_ui->btnApplyUpd, &QPushButton::clicked, this, &UpdatePage::ApplyClicked);
}

UpdatePage::~UpdatePage() = default;

// ---- The record

void UpdatePage::ShowRecord(const tagUpdtOpts& options) {
    m_shown = options;
    m_ui->chkAutoUpdate->setChecked((options.flags & kUpdateAutomatically) != 0);

    const bool isKept = (options.flags & kUpdateKeepBackup) != 0;
    m_ui->chkBackup->setChecked(isKept);
    TakeBackup(isKept);
    if (isKept) {
        ShowBytes(*m_ui->edtBkupFolder, common::FieldText(options.backupFolder));
    }

    const bool isInternet = (options.flags & kUpdateFromInternet) != 0;
    const bool isServer = !isInternet && (options.flags & kUpdateFromServer) != 0;
    (isInternet ? m_ui->rdoInternet : isServer ? m_ui->rdoServer : m_ui->rdoPath)->setChecked(true);
    TakeCentre(isInternet || isServer);
    if (!isInternet && !isServer) {
        ShowBytes(*m_ui->edtUpdtPath, common::FieldText(options.path));
    }
    NoteSettled();
}

void UpdatePage::Reload() {
    ShowRecord(update::LoadUpdateOptions());
}

bool UpdatePage::Apply() {
    if (IsRootPrivileges() == 0) {
        Reload();
        ShowCritical(this, kUpdateTitle, tr("You do not have sufficient privileges."));
        return false;
    }
    ForgetFeature();
    tagUpdtOpts options{};
    if (!TakeRecord(options)) {
        return false;
    }
    NoteSettled();
    const common::FileOutcome outcome = update::WriteUpdateOptions(options);
    if (outcome == common::FileOutcome::kNotOpened) {
        ShowCritical(this, kUpdateTitle,
                     tr("Bad or Missing Configuration, or you do not have sufficient privileges"));
        Reload();
        return false;
    }
    if (outcome == common::FileOutcome::kFailed) {
        ShowCritical(this, kUpdateTitle, tr("Bad or Missing Configuration."));
        Reload();
    } else {
        m_shown = options;
    }
    StartStopUpdtDaemon(m_ui->chkAutoUpdate->isChecked());
    return update::NotifyStatusChange(kStatusUpdateChanged);
}

bool UpdatePage::TakeRecord(tagUpdtOpts& options) {
    options.reserved = 1;
    if (m_ui->chkAutoUpdate->isChecked()) {
        options.flags |= kUpdateAutomatically;
    }
    if (m_ui->rdoInternet->isChecked()) {
        options.flags |= kUpdateFromInternet;
    } else if (m_ui->rdoServer->isChecked()) {
        options.flags |= kUpdateFromServer;
    } else if (!TakeFolder(
                   *m_ui->edtUpdtPath, common::FieldText(m_shown.path), options.path,
                   {tr("Please provide the path."), tr("Please Provide the valid path.")})) {
        return false;
    }
    if (m_ui->chkBackup->isChecked()) {
        options.flags |= kUpdateKeepBackup;
        return TakeFolder(
            *m_ui->edtBkupFolder, common::FieldText(m_shown.backupFolder), options.backupFolder,
            {tr("Provide the path to store update backup."), tr("Please provide the valid path.")});
    }
    return true;
}

// A folder that does not fit is refused: its beginning may be another folder.
bool UpdatePage::TakeFolder(const QLineEdit& line, std::string_view shown, std::span<char> field,
                            const FolderTexts& texts) {
    const std::string path = EditedBytes(line, shown);
    if (path.empty()) {
        ShowCritical(this, kTitle, texts.empty);
        return false;
    }
    // The updater works in another folder, so that a relative path would lead it elsewhere.
    if (!path.starts_with('/') || IsDirectory(path.c_str()) == 0) {
        ShowCritical(this, kTitle, texts.invalid);
        return false;
    }
    if (!common::CopyToField(field, path)) {
        ShowCritical(this, kTitle,
                     tr("The name of the folder is longer than 255 bytes. Nothing was saved."));
        return false;
    }
    return true;
}

// ---- What changes while the user works

void UpdatePage::NoteChange() {
    m_ui->btnApplyUpd->setEnabled(true);
    m_ui->btnCancelUpd->setEnabled(true);
}

void UpdatePage::NoteSettled() {
    m_ui->btnApplyUpd->setEnabled(false);
    m_ui->btnCancelUpd->setEnabled(false);
}

bool UpdatePage::HasChanges() const {
    return m_ui->btnApplyUpd->isEnabled();
}

void UpdatePage::TakeCentre(bool isCentre) {
    m_ui->edtUpdtPath->setEnabled(!isCentre);
    m_ui->btnUpdtPath->setEnabled(!isCentre);
    if (isCentre) {
        m_ui->edtUpdtPath->clear();
    }
    NoteChange();
}

void UpdatePage::TakeBackup(bool isKept) {
    m_ui->edtBkupFolder->setEnabled(isKept);
    m_ui->btnBkupFolder->setEnabled(isKept);
    if (!isKept) {
        m_ui->edtBkupFolder->clear();
    }
    NoteChange();
}

void UpdatePage::ChoosePath() {
    ChooseFolder(*m_ui->edtUpdtPath);
}

void UpdatePage::ChooseBackupFolder() {
    ChooseFolder(*m_ui->edtBkupFolder);
}

void UpdatePage::ChooseFolder(QLineEdit& line) {
    const QString chosen =
        QFileDialog::getExistingDirectory(window(), tr("get existing directory"), line.text());
    if (chosen.isEmpty()) {
        return;
    }
    // The chooser shows a name that is no UTF-8 by another one, under which nothing is found.
    if (IsDirectory(QFile::encodeName(chosen).constData()) == 0) {
        ShowWarning(window(), kTitle,
                    tr("The folder\n%1\ncannot be reached by this name. Rename it, or choose "
                       "another one.")
                        .arg(chosen));
        return;
    }
    line.setText(chosen);
}

void UpdatePage::OpenInternetSettings() {
    dlgIntSet(window()).exec();
}

// ---- How current the definitions are

void UpdatePage::RefreshStatus() {
    const DefinitionsStatus::Line definitions =
        DefinitionsStatus::Definitions(common::EngineVersion(), QDate::currentDate());
    m_ui->lblDefinitions->setText(definitions.text);
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    m_ui->lblOldMark->setPixmap(
        style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this).pixmap(size));
    m_ui->lblOldMark->setVisible(definitions.isOutOfDate);
    m_ui->lblLastUpdate->setText(DefinitionsStatus::LastUpdate());
}

void UpdatePage::showEvent(QShowEvent* event) {
    RefreshStatus();
    QWidget::showEvent(event);
}

void UpdatePage::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
        if (isVisible()) {
            RefreshStatus();
        }
    }
    QWidget::changeEvent(event);
}
