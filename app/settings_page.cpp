#include "app/settings_page.h"

#include <QEvent>

#include "ui_settings_page.h"

#include "common/run_state.h"
#include "common/scan_options_file.h"
#include "scan/scanner.h"
#include "widgets/messages.h"

namespace {

constexpr auto kTitle = "Corvane";

}  // namespace

SettingsPage::SettingsPage(QWidget* parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::SettingsPage>()) {
    m_ui->setupUi(this);
    connect(m_ui->chkSccmp, &QCheckBox::toggled, this, &SettingsPage::ArchivesToggled);
    connect(m_ui->chkScadsp, &QCheckBox::toggled, this, &SettingsPage::AdwareToggled);
    connect(m_ui->chkScdmb, &QCheckBox::toggled, this, &SettingsPage::DumbToggled);
    connect(m_ui->chkPack, &QCheckBox::toggled, this, &SettingsPage::PackedToggled);
    connect(m_ui->actioncomboBox, &QComboBox::currentIndexChanged, this,
            &SettingsPage::ActionChanged);
    connect(m_ui->btnSaveOpts, &QPushButton::clicked, this, &SettingsPage::SaveClicked);
    connect(m_ui->btnCancelSv, &QPushButton::clicked, this, &SettingsPage::CancelClicked);
}

SettingsPage::~SettingsPage() = default;

void SettingsPage::ShowAtStart(const tagSCNOPTS& options) {
    ShowRecord(options);
    NoteSettled();
}

void SettingsPage::Save() {
    const tagSCNOPTS options = RecordOfPage();
    const common::FileOutcome outcome = common::WriteScanOptionsFile(options);
    if (outcome == common::FileOutcome::kNotOpened) {
        ShowCritical(this, kTitle,
                     tr("Bad or Missing Configuration, or you do not have sufficient privileges"));
    } else {
        if (outcome == common::FileOutcome::kFailed) {
            ShowCritical(this, kTitle,
                         tr("Unable to save options. \n Close all the application and try again"));
        }
        // After a failed write too: the choice holds at least until the program ends.
        g_scnopts = options;
        Scanner::SetScanOptions(&g_scnopts);
    }
    NoteSettled();
}

void SettingsPage::Reload() {
    m_ui->chkSccmp->setChecked(false);
    m_ui->chkScadsp->setChecked(false);
    m_ui->chkScdmb->setChecked(false);
    m_ui->chkPack->setChecked(false);

    tagSCNOPTS options{};
    const common::FileOutcome outcome = common::ReadScanOptionsFile(options);
    if (outcome == common::FileOutcome::kNotOpened) {
        ShowCritical(this, kTitle,
                     tr("Bad or Missing Configuration, or you do not have sufficient privileges"));
    } else {
        if (outcome == common::FileOutcome::kFailed) {
            ShowCritical(this, kTitle, tr("Bad or Missing Configuration"));
        }
        ShowRecord(options);
    }
    NoteSettled();
}

void SettingsPage::NoteChange() {
    m_ui->btnSaveOpts->setEnabled(true);
    m_ui->btnCancelSv->setEnabled(true);
}

void SettingsPage::NoteSettled() {
    m_ui->btnSaveOpts->setEnabled(false);
    m_ui->btnCancelSv->setEnabled(false);
}

bool SettingsPage::HasChanges() const {
    return m_ui->btnSaveOpts->isEnabled();
}

void SettingsPage::ShowRecord(const tagSCNOPTS& options) {
    if (options.action <= kActionPrompt) {
        m_ui->actioncomboBox->setCurrentIndex(options.action);
    }
    if ((options.flags & kScanArchives) != 0) {
        m_ui->chkSccmp->setChecked(true);
    }
    if ((options.flags & kScanAdware) != 0) {
        m_ui->chkScadsp->setChecked(true);
    }
    if ((options.flags & kScanPacked) != 0) {
        m_ui->chkPack->setChecked(true);
    }
    if ((options.flags & kScanDumb) != 0) {
        m_ui->chkScdmb->setChecked(true);
    }
}

tagSCNOPTS SettingsPage::RecordOfPage() const {
    const auto bit = [](const QCheckBox* box, ScanFlag flag) {
        return box->isChecked() ? static_cast<unsigned int>(flag) : 0U;
    };
    const unsigned int flags = bit(m_ui->chkSccmp, kScanArchives) |
                               bit(m_ui->chkScadsp, kScanAdware) | bit(m_ui->chkScdmb, kScanDumb) |
                               bit(m_ui->chkPack, kScanPacked);
    return {static_cast<std::uint16_t>(m_ui->actioncomboBox->currentIndex()),
            static_cast<std::uint8_t>(flags)};
}

void SettingsPage::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
    }
    QWidget::changeEvent(event);
}
