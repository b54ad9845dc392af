#include "help/about_page.h"

#include <array>
#include <ctime>

#include <QCoreApplication>
#include <QDesktopServices>
#include <QEvent>
#include <QProcess>
#include <QUrl>

#include "ui_about_page.h"

#include "common/times.h"
#include "widgets/messages.h"

namespace {

constexpr char kWebSite[] = "https://www.corvane.example";

// The two blanks and the colon belong to each value: its caption is a label of its own.
QString NotKnown() {
    return AboutPage::tr(":  not known");
}

// The values are texts of the main window, which a translation may have its own words for.
QString Translated(const QString& text) {
    return QCoreApplication::translate("dlgMain", text.toUtf8().constData());
}

bool IsDate(const tagZQSYSTEMTIME& date) {
    return date.month >= 1 && date.month <= 12 && date.day >= 1 && date.day <= 31;
}

}  // namespace

QString VersionText(const tagZQVERINFO& version) {
    if (version.major == 0 && version.minor == 0 && !IsDate(version.databaseDate)) {
        return NotKnown();
    }
    return Translated(QString::asprintf(":  %u.%02u", static_cast<unsigned int>(version.major),
                                        static_cast<unsigned int>(version.minor)));
}

QString DatabaseDateText(const tagZQVERINFO& version) {
    if (!IsDate(version.databaseDate)) {
        return NotKnown();
    }
    std::tm date{};
    SystemTimeToTm(&version.databaseDate, &date);
    std::array<char, 256> text{};
    if (std::strftime(text.data(), text.size(), ":  %d-%B-%Y", &date) == 0) {
        return NotKnown();
    }
    return Translated(QString::fromLocal8Bit(text.data()));
}

AboutPage::AboutPage(QWidget* parent) : QWidget(parent), m_ui(std::make_unique<Ui::AboutPage>()) {
    m_ui->setupUi(this);
    m_ui->lblUrl->SetName(kWebSite, kWebSite);
    connect(m_ui->btnUrl, &QPushButton::clicked, this, &AboutPage::UrlClicked);
    connect(m_ui->btnDesktopBrowser, &QPushButton::clicked, this, &AboutPage::OpenInDesktopBrowser);
    ShowValues();
}

AboutPage::~AboutPage() = default;

void AboutPage::ShowVersion(const tagZQVERINFO& version) {
    m_version = version;
    ShowValues();
}

void AboutPage::ShowValues() {
    m_ui->lblVersion->setText(VersionText(m_version));
    m_ui->lblDatabaseDate->setText(DatabaseDateText(m_version));
}

void AboutPage::OpenWebSite() {
    const QString address = QString::fromLatin1(kWebSite).trimmed();
    const QStringList arguments = address.isEmpty() ? QStringList() : QStringList(address);
    if (!QProcess::startDetached("mozilla", arguments)) {
        ShowCritical(this, tr("Critical!"), tr("Web Browser reports an error!"));
    }
}

void AboutPage::OpenInDesktopBrowser() {
    if (!QDesktopServices::openUrl(QUrl(kWebSite))) {
        ShowCritical(this, "Corvane",
                     tr("The desktop has opened no browser.\nCopy the address into one."));
    }
}

void AboutPage::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
        ShowValues();
    }
    QWidget::changeEvent(event);
}
