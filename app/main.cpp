#include <cstdlib>
#include <memory>
#include <unistd.h>

#include <QApplication>
#include <QTranslator>

#include "app/dlg_main.h"
#include "app/start_up.h"
#include "common/locks.h"
#include "common/log.h"
#include "common/run_state.h"
#include "scan/run/descriptor_limit.h"

int main(int argc, char** argv) {
    RegisterWithOnAccessService();
    // The log has no name yet, so this line goes nowhere: the call stays in its place.
    WriteToLog(g_szLogFile, "OPSIgnoreProcess() success");

    switch (ProbeDisplay()) {
        case DisplayKind::kUnknown:
            return -1;  // still registered, as after a missing translation or EndProcess()
        case DisplayKind::kWayland:
            Unregfromonlineprot(g_pCurrproc_pid);
            NotifyWaylandUnsupported();
            return 1;
        case DisplayKind::kX11:
            break;
    }

    QTranslator translator;
    SetApplicationFont();
    std::unique_ptr<QApplication> application;
    {
        const DisplayNeeded needed;
        application = std::make_unique<QApplication>(argc, argv);
    }
    SetApplicationStyle();

    if (!RecordApplicationDirectory()) {
        Unregfromonlineprot(g_pCurrproc_pid);
        return EXIT_SUCCESS;
    }
    if (argc == 2 && !InstallTranslation(translator, argv[1])) {
        return EXIT_SUCCESS;  // the process stays registered here
    }
    if (!Get_Lock(kInstanceLock)) {
        Unregfromonlineprot(g_pCurrproc_pid);
        return EXIT_SUCCESS;
    }
    if (!MakeReportsDirectory() || !MakeTemporaryDirectory()) {
        Release_Lock(kInstanceLock);
        Unregfromonlineprot(g_pCurrproc_pid);
        return EXIT_SUCCESS;
    }
    OpenScanLog();
    scan::RaiseDescriptorLimit();

    auto mainWindow = std::make_unique<dlgMain>();
    mainWindow->show();
    QObject::connect(application.get(), &QApplication::lastWindowClosed, application.get(),
                     &QApplication::quit);
    const int status = QApplication::exec();

    Release_Lock(kInstanceLock);
    Unregfromonlineprot(g_pCurrproc_pid);
    mainWindow.reset();
    application.reset();
    return status;
}
