// bench_gui_scan [--no-read-ahead] APPLICATION-DIRECTORY PATH...
//
// One on-demand scan as the main window runs it: the engine of that directory, the report, the
// progress dialog with its threads and events, everything drawn. Prints one line
//
//   start=S load=S scan=S files=N infected=N unreadable=N peak=KiB hosts=KiB
//
// start: from the start of the process to the engine's start; load: until the engine can scan;
// scan: from showing the dialog until it offers to be closed, what a person waits for;
// hosts: what the processes that scan have in memory at the end.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include <QApplication>
#include <QEvent>
#include <QPushButton>
#include <QTimer>

#include "bench/measurements.h"
#include "common/path_list.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/files/complete_scan.h"
#include "reports/files/report_generator.h"
#include "reports/files/report_index.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/run/read_ahead.h"
#include "scan/scanner.h"

namespace {

// Everything is read, as the command-line scanner reads it, and nothing is changed.
constexpr tagSCNOPTS kSettings{kActionReportOnly,
                               kScanArchives | kScanAdware | kScanDumb | kScanPacked};

/// Notes when the dialog lets itself be closed again, and closes it.
class FinishWatch : public QObject {
public:
    FinishWatch(dlgScnPrgrs& dialog, const Stopwatch& watch) : m_dialog(dialog), m_watch(watch) {
        m_closeButton = dialog.findChild<QPushButton*>("btnClose");
        m_stopButton = dialog.findChild<QPushButton*>("btnStop");
        if (m_closeButton == nullptr || m_stopButton == nullptr) {
            std::fputs("the dialog has other buttons than expected\n", stderr);
            std::exit(EXIT_FAILURE);
        }
        m_closeButton->installEventFilter(this);
        m_stopButton->installEventFilter(this);
    }

    [[nodiscard]] double Seconds() const { return m_seconds; }

protected:
    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() == QEvent::EnabledChange) {
            m_isScanning = m_isScanning || (object == m_stopButton && m_stopButton->isEnabled());
            if (object == m_closeButton && m_closeButton->isEnabled() && m_isScanning) {
                m_seconds = m_watch.Seconds();
                QTimer::singleShot(0, &m_dialog, [this] { m_dialog.OnScnCloseClick(); });
            }
        }
        return false;
    }

private:
    dlgScnPrgrs& m_dialog;
    const Stopwatch& m_watch;
    QPushButton* m_closeButton = nullptr;
    QPushButton* m_stopButton = nullptr;
    bool m_isScanning = false;
    double m_seconds = 0;
};

/// The engine takes no file before its signatures are loaded; a directory it takes never.
double WaitForSignatures() {
    const Stopwatch watch;
    Scanner scanner;
    scanner.Open("/");
    return watch.Seconds();
}

double Scan(tagPathList* paths) {
    g_pRptObj = std::make_unique<ReportGen>(paths);
    double seconds = 0;
    {
        const Stopwatch watch;
        dlgScnPrgrs dialog;
        const FinishWatch finish(dialog, watch);
        WriteCmpScnRptforAdmin();
        dialog.SetPathListToScan(paths);
        dialog.myexec();
        seconds = finish.Seconds();
    }
    g_pRptObj.reset();
    return seconds;
}

int Usage() {
    std::fputs("Usage: bench_gui_scan [--no-read-ahead] APPLICATION-DIRECTORY PATH...\n", stderr);
    return EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    const Stopwatch sinceStart;
    std::span<char*> arguments(argv + 1, static_cast<std::size_t>(argc - 1));
    if (!arguments.empty() && std::string_view(arguments[0]) == "--no-read-ahead") {
        SetReadAhead(false);
        arguments = arguments.subspan(1);
    }
    if (arguments.size() < 2 || !std::string_view(arguments[0]).ends_with('/') ||
        !common::CopyToField(g_szAppPath, arguments[0])) {
        return Usage();
    }
    for (const char* path : arguments.subspan(1)) {
        if (!common::AppendPath(g_pPLstHead, g_pPLstCurr, path)) {
            return Usage();
        }
    }
    int qtArguments = 1;
    const QApplication application(qtArguments, argv);
    reports::CreateReportIndex((std::string(g_szAppPath) + reports::kScanIndexName).c_str());
    g_scnopts = kSettings;
    const double start = sinceStart.Seconds();
    if (Scanner::InitScan(&kSettings) == 0) {
        std::fputs("the scan engine could not be started\n", stderr);
        return EXIT_FAILURE;
    }
    Scanner::SetScanOptions(&kSettings);
    const double load = WaitForSignatures();
    const double scan = Scan(g_pPLstHead);
    std::printf(
        "start=%.3f load=%.3f scan=%.3f files=%u infected=%u unreadable=%u peak=%ld hosts=%ld\n",
        start, load, scan, g_uiTotCnt.load(), g_uiInfCnt.load(), g_uiIOErrCnt.load(), PeakMemory(),
        ProportionalMemory("corvane-scanhost"));
    common::FreePathList(g_pPLstHead, g_pPLstCurr);
    Scanner::DestroyScan();
    return EXIT_SUCCESS;
}
