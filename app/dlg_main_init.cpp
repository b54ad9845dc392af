// How the main window starts and ends: options, splash screen, scan engine, report indexes.

#include <cstdlib>
#include <string>

#include <QApplication>
#include <QPixmap>
#include <QScreen>
#include <QSplashScreen>
#include <QTreeWidget>

#include "ui_dlg_main.h"

#include "app/dlg_main.h"
#include "app/start_up.h"
#include "common/locks.h"
#include "common/paths.h"
#include "common/run_state.h"
#include "help/dlg_help.h"
#include "reports/files/report_index.h"
#include "scan/scanner.h"
#include "widgets/messages.h"

namespace {

enum class EventPass { kNone, kOne };

void ShowStep(QSplashScreen& splash, const QString& message, EventPass pass) {
    splash.showMessage(message, Qt::AlignBottom | Qt::AlignHCenter, Qt::black);
    if (pass == EventPass::kOne) {
        QApplication::processEvents();
    }
}

}  // namespace

void dlgMain::init() {
    m_ui->reportsPage->List()->installEventFilter(this);

    const std::string picture = common::InProgramDirectory("qimages/splash.bmp");
    if (IsValidPath(picture.c_str()) == 0) {
        EndProcess();
    }
    const QPixmap pixmap(QString::fromLatin1(picture));  // the application directory is ASCII
    if (pixmap.isNull()) {
        EndProcess();
    }
    auto splash = std::make_unique<QSplashScreen>(pixmap);

    (void)Viewer();
    CentreOnDesktop();
    splash->show();

    ShowStep(*splash, tr("Loading... Scan Option Settings"), EventPass::kNone);
    tagSCNOPTS scanOptions{};
    if (!LoadScnOptions(&scanOptions)) {
        scanOptions = common::kDefaultScanSettings;
    }

    ShowStep(*splash, tr("Loading... Update Module"), EventPass::kOne);
    tagUpdtOpts updateOptions = update::LoadUpdateOptionsAtStart();
    updateUiChange(&updateOptions);

    g_scnopts = scanOptions;
    m_ui->settingsPage->ShowAtStart(scanOptions);

    ShowStep(*splash, tr("Loading..."), EventPass::kOne);
    if (Scanner::InitScan(&scanOptions) == 0) {
        splash.reset();
        ShowCritical(this, QStringLiteral("Corvane"), tr("Unable to load Scan API Library"));
        EndProcess();
    }
    ShowStep(*splash, tr("API Library loaded successfully"), EventPass::kOne);

    MakeReportIndexes(splash);
}

void dlgMain::CentreOnDesktop() {
    const QSize desktop = QApplication::primaryScreen()->size();
    move((desktop.width() - width()) / 2, (desktop.height() - height()) / 2);
}

void dlgMain::MakeReportIndexes(std::unique_ptr<QSplashScreen>& splash) {
    for (const char* index : {reports::kScanIndexName, reports::kUpdateIndexName}) {
        const std::string path = common::InProgramDirectory(index);
        if (!reports::CreateReportIndex(path.c_str())) {
            ShowCritical(
                this, QStringLiteral("Corvane"),
                tr("Unable to open Report File. \n Close all the application and try again"));
            delete m_viewer;
            splash.reset();
            destroy();
            EndProcess();
        }
    }
}

void dlgMain::EndProcess() {
    Release_Lock(kInstanceLock);
    std::exit(EXIT_SUCCESS);
}

void dlgMain::destroy() {
    if (Scanner::DestroyScan() == 0) {
        ShowCritical(this, QStringLiteral("Corvane"), tr("Unable to unload Scan API Library"));
    }
}
