#include "update/dlg_int_set.h"

#include <initializer_list>
#include <string>

#include <QEvent>
#include <QIntValidator>

#include "ui_dlg_int_set.h"

#include "common/paths.h"
#include "common/text_field.h"
#include "common/utf8.h"
#include "update/edited_text.h"
#include "update/files/connection_request.h"
#include "update/files/internet_settings.h"
#include "widgets/messages.h"
#include "widgets/whats_this_key.h"

namespace {

constexpr int kLargestPort = 65535;
constexpr int kUserCharacters = 200;
constexpr int kPasswordCharacters = 50;

// The whole characters of `text` that fit into a field of `size` bytes with its terminator.
std::string_view Fitting(std::string_view text, std::size_t size) {
    std::size_t end = 0;
    while (end < text.size()) {
        const std::size_t next = end + common::DecodeUtf8(text.substr(end)).length;
        if (next >= size) {
            break;
        }
        end = next;
    }
    return text.substr(0, end);
}

}  // namespace

dlgIntSet::dlgIntSet(QWidget* parent) : QDialog(parent), m_ui(std::make_unique<Ui::dlgIntSet>()) {
    m_ui->setupUi(this);
    ExplainOnF1(*this);
    connect(m_ui->chkUseProxy, &QCheckBox::toggled, this, &dlgIntSet::OnInternetConnChkd);
    connect(m_ui->chkAuthentication, &QCheckBox::toggled, this, &dlgIntSet::OnAuthenticationChked);
    connect(m_ui->btnTest, &QPushButton::clicked, this, &dlgIntSet::OnTestClick);
    connect(m_ui->btnOk, &QPushButton::clicked, this, &dlgIntSet::OnOkClick);
    connect(m_ui->btnCancel, &QPushButton::clicked, this, &dlgIntSet::reject);
    connect(&m_test, &ConnectionTest::Finished, this, &dlgIntSet::SayTestResult);
    for (const QCheckBox* box : {m_ui->chkUseProxy, m_ui->chkAuthentication}) {
        connect(box, &QCheckBox::toggled, this, &dlgIntSet::ForgetTestResult);
    }
    for (const QLineEdit* entry :
         {m_ui->edtServer, m_ui->edtPort, m_ui->edtUser, m_ui->edtPassword}) {
        connect(entry, &QLineEdit::textChanged, this, &dlgIntSet::ForgetTestResult);
    }
    init();
}

dlgIntSet::~dlgIntSet() = default;

void dlgIntSet::init() {
    QLocale plainDigits = QLocale::c();
    plainDigits.setNumberOptions(QLocale::RejectGroupSeparator);
    auto* port = new QIntValidator(0, kLargestPort, this);
    port->setLocale(plainDigits);
    m_ui->edtPort->setValidator(port);
    m_ui->edtServer->setMaxLength(static_cast<int>(sizeof m_loaded.server) - 1);
    m_ui->edtUser->setMaxLength(kUserCharacters);
    m_ui->edtPassword->setMaxLength(kPasswordCharacters);
    // Room for the longest result: the window does not jump when it is said.
    m_ui->lblTestResult->setMinimumHeight(2 * m_ui->lblTestResult->fontMetrics().lineSpacing());
    LoadInetOptions();
}

void dlgIntSet::LoadInetOptions() {
    m_loaded = update::LoadInternetSettings();
    m_ui->chkAuthentication->setChecked(m_loaded.authenticate != 0);
    OnAuthenticationChked(m_ui->chkAuthentication->isChecked());
    m_ui->chkUseProxy->setChecked(m_loaded.useProxy != 0);
    OnInternetConnChkd(m_ui->chkUseProxy->isChecked());
    ShowBytes(*m_ui->edtServer, common::FieldText(m_loaded.server));
    m_ui->edtPort->setText(m_loaded.port == 0 ? QString() : QString::number(m_loaded.port));
    ShowBytes(*m_ui->edtUser, common::FieldText(m_loaded.user));
    ShowBytes(*m_ui->edtPassword, common::FieldText(m_loaded.password));
}

void dlgIntSet::OnInternetConnChkd(bool on) {
    const std::initializer_list<QWidget*> server = {m_ui->lblServer, m_ui->edtServer, m_ui->lblPort,
                                                    m_ui->edtPort, m_ui->chkAuthentication};
    for (QWidget* widget : server) {
        widget->setEnabled(on);
    }
    OnAuthenticationChked(on && m_ui->chkAuthentication->isChecked());
}

void dlgIntSet::OnAuthenticationChked(bool on) {
    const std::initializer_list<QWidget*> login = {m_ui->lblUser, m_ui->edtUser, m_ui->lblPassword,
                                                   m_ui->edtPassword};
    for (QWidget* widget : login) {
        widget->setEnabled(on);
    }
}

bool dlgIntSet::IsValid() const {
    if (!m_ui->chkUseProxy->isChecked()) {
        return true;
    }
    if (m_ui->edtServer->text().isEmpty() || !m_ui->edtPort->hasAcceptableInput()) {
        return false;
    }
    // Half a user's name is nobody's: one that does not fit is no valid one either.
    const std::string user = EditedBytes(*m_ui->edtUser, common::FieldText(m_loaded.user));
    return !m_ui->chkAuthentication->isChecked() ||
           (!user.empty() && user.size() < sizeof m_loaded.user);
}

tagZQINETCONFIG dlgIntSet::Record() const {
    tagZQINETCONFIG settings{};
    if (!m_ui->chkUseProxy->isChecked()) {
        return settings;
    }
    settings.useProxy = 1;
    common::CopyToField(settings.server,
                        Fitting(EditedBytes(*m_ui->edtServer, common::FieldText(m_loaded.server)),
                                sizeof settings.server));
    settings.port = static_cast<std::uint16_t>(m_ui->edtPort->text().toUInt());
    if (m_ui->chkAuthentication->isChecked()) {
        settings.authenticate = 1;
        common::CopyToField(settings.user,
                            EditedBytes(*m_ui->edtUser, common::FieldText(m_loaded.user)));
        common::CopyToField(settings.password,
                            EditedBytes(*m_ui->edtPassword, common::FieldText(m_loaded.password)));
    }
    return settings;
}

void dlgIntSet::OnOkClick() {
    if (!IsValid()) {
        ShowCritical(this, tr("Internet settings"), InvalidText());
        return;
    }
    if (update::SaveInternetSettings(Record()) != common::FileOutcome::kDone) {
        ShowCritical(nullptr, tr("Internet settings"), tr("Bad or Missing Configuration."));
        reject();
        return;
    }
    update::ResetEndpointIdentifier();
    update::TellWebProtection();
    accept();
}

void dlgIntSet::OnTestClick() {
    if (!IsValid()) {
        SayTestResult(InvalidText());
        return;
    }
    m_ui->btnTest->setEnabled(false);
    m_ui->lblTestResult->setText(tr("The connection is being tested..."));
    m_test.Start(common::InProgramDirectory("corvane-update"), update::ConnectionRequest(Record()));
}

void dlgIntSet::SayTestResult(const QString& words) {
    m_ui->btnTest->setEnabled(true);
    m_ui->lblTestResult->setText(words);
}

void dlgIntSet::ForgetTestResult() {
    if (!m_test.IsRunning()) {
        m_ui->lblTestResult->clear();
    }
}

QString dlgIntSet::InvalidText() {
    return tr("Provide the valid proxy server configuration");
}

void dlgIntSet::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
    }
    QDialog::changeEvent(event);
}
