#include "app/scan_page.h"

#include <sys/stat.h>

#include <QDir>
#include <QEvent>
#include <QFileDialog>

#include "ui_scan_page.h"

#include "common/path_list.h"
#include "common/run_state.h"
#include "kept/kept_copies_dialog.h"
#include "reports/files/complete_scan.h"
#include "reports/files/report_generator.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/run/foreign_mounts.h"
#include "scan/run/scan_run.h"
#include "scan/scanner.h"
#include "widgets/display_name.h"
#include "widgets/dlg_sc_dir.h"
#include "widgets/messages.h"

namespace {

constexpr auto kTitle = "Corvane Scan";

/// Nothing of the last run is left: neither what was detected nor what the engine was told about
/// it.
void PrepareRun() {
    scan::ScanRun::ForgetDetections();
    Scanner::m_ScanOptns.extraFlags &= static_cast<std::uint16_t>(~kLabScanFlag);
    Scanner::SetScanOptions(&g_scnopts);
    Scanner::ResetFPTFlags();
}

bool Exists(const QByteArray& name) {
    struct stat status {};
    return stat(name.constData(), &status) == 0;
}

}  // namespace

ScanPage::ScanPage(QWidget* parent) : QWidget(parent), m_ui(std::make_unique<Ui::ScanPage>()) {
    m_ui->setupUi(this);
    connect(m_ui->btnScnDir, &QAbstractButton::clicked, this, &ScanPage::FoldersClicked);
    connect(m_ui->btnScnFl, &QAbstractButton::clicked, this, &ScanPage::FileClicked);
    connect(m_ui->btnScnHome, &QAbstractButton::clicked, this, &ScanPage::ScanHome);
    connect(m_ui->btnKept, &QAbstractButton::clicked, this,
            [this] { KeptCopiesDialog(window()).exec(); });
    connect(m_ui->btnScnComputer, &QAbstractButton::clicked, this, &ScanPage::ScanComputer);
}

ScanPage::~ScanPage() = default;

void ScanPage::ScanFolders() {
    PrepareRun();
    dlgScDir picker(window());
    if (picker.exec() == QDialog::Accepted && g_pPLstHead != nullptr) {
        ScanPathList();
    }
    common::FreePathList(g_pPLstHead, g_pPLstCurr);
}

void ScanPage::ScanFile() {
    PrepareRun();
    QFileDialog picker(window(), tr("Select file to scan"), QStringLiteral("/home"));
    // The toolkit's own dialog: a desktop's dialog would not show the hidden files.
    picker.setOption(QFileDialog::DontUseNativeDialog);
    picker.setFileMode(QFileDialog::ExistingFile);
    picker.setFilter(QDir::AllEntries | QDir::AllDirs | QDir::Hidden | QDir::System);
    if (picker.exec() != QDialog::Accepted || picker.selectedFiles().isEmpty()) {
        return;
    }
    const QString chosen = picker.selectedFiles().constFirst();
    const QByteArray name = QFile::encodeName(chosen);
    if (!Exists(name)) {
        ShowWarning(window(), kTitle,
                    tr("The file\n%1\ncannot be reached by this name. Nothing was scanned; to scan "
                       "it, scan its folder.")
                        .arg(chosen));
        return;
    }
    if (!common::AppendPath(g_pPLstHead, g_pPLstCurr, name.constData())) {
        ShowWarning(window(), kTitle, TooLong(chosen));
        return;
    }
    ScanPathList();
    common::FreePathList(g_pPLstHead, g_pPLstCurr);
}

// ---- Places

void ScanPage::ScanHome() {
    PrepareRun();
    const QByteArray home = QFile::encodeName(QDir::homePath());
    if (!common::AppendPath(g_pPLstHead, g_pPLstCurr, home.constData())) {
        ShowWarning(window(), kTitle, TooLong(QDir::homePath()));
        return;
    }
    ScanPathList();
}

void ScanPage::ScanComputer() {
    PrepareRun();
    common::AppendPath(g_pPLstHead, g_pPLstCurr, "/");
    const scan::ForeignMounts foreign;
    ScanPathList([&foreign](dlgScnPrgrs& progress) { progress.Run().SetFilter(&foreign); });
}

void ScanPage::ScanDropped(const QList<QUrl>& places) {
    PrepareRun();
    QStringList leftOut;
    std::vector<std::string> paths;
    for (const QUrl& place : places) {
        const QByteArray name = QFile::encodeName(place.toLocalFile());
        if (place.isLocalFile() && Exists(name) &&
            common::AppendPath(g_pPLstHead, g_pPLstCurr, name.constData())) {
            paths.emplace_back(name.constData());
        } else {
            leftOut << DisplayName(place.isLocalFile() ? name.toStdString()
                                                       : place.toString().toStdString());
        }
    }
    if (!leftOut.isEmpty()) {
        TellLeftOut(leftOut);
    }
    if (!paths.empty()) {
        ScanPathList(
            [&paths](dlgScnPrgrs& progress) { progress.Run().SetMixedPaths(std::move(paths)); });
    }
}

void ScanPage::TellLeftOut(const QStringList& places) {
    constexpr qsizetype kMostNamed = 10;
    QStringList named = places.mid(0, kMostNamed);
    if (places.size() > named.size()) {
        named << QStringLiteral("...");
    }
    ShowWarning(window(), kTitle,
                tr("Not scanned, because it is no file or folder of this computer that can be "
                   "reached by a name of at most 255 bytes:\n%1")
                    .arg(named.join(QLatin1Char('\n'))));
}

QString ScanPage::TooLong(const QString& path) {
    return tr("The name of the file\n%1\nis longer than 255 bytes. Nothing was scanned; to scan "
              "it, "
              "scan a folder above it.")
        .arg(path);
}

void ScanPage::ScanPathList(const std::function<void(dlgScnPrgrs&)>& prepare) {
    g_pRptObj = std::make_unique<ReportGen>(g_pPLstHead);
    {
        dlgScnPrgrs progress(window());
        WriteCmpScnRptforAdmin();
        progress.SetPathListToScan(g_pPLstHead);
        if (prepare) {
            prepare(progress);
        }
        progress.myexec();
        // The list and the report go first, the dialog last: it has joined its thread by then.
        common::FreePathList(g_pPLstHead, g_pPLstCurr);
        g_pRptObj.reset();
    }
    m_ui->overview->Refresh();
}

OverviewPanel* ScanPage::Overview() const {
    return m_ui->overview;
}

void ScanPage::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
    }
    QWidget::changeEvent(event);
}
