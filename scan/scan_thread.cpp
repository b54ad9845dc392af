#include "scan/scan_thread.h"

#include <chrono>
#include <ctime>
#include <span>
#include <sys/stat.h>
#include <thread>

#include "common/run_state.h"
#include "reports/files/report_generator.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/file_count_thread.h"
#include "scan/run/detection_filters.h"
#include "scan/run/directory_walker.h"
#include "scan/run/prompt_handshake.h"
#include "scan/run/read_ahead.h"
#include "scan/scan_dialog.h"
#include "scan/scanner.h"
#include "scan/zq_event.h"

namespace {

// The dialog is still being laid out when its thread starts.
constexpr std::chrono::milliseconds kSettlingTime{100};

class ScanningVisitor : public WalkVisitor {
public:
    explicit ScanningVisitor(ScanDialog& dialog) : m_dialog(dialog) {}

    bool GoOn(const char* directory) override {
        if (!m_dialog.m_stop.IsSet()) {
            return true;
        }
        AskAndWait([this, directory] { PostZqEvent(&m_dialog, kEvtConfirmStop, directory); });
        if (m_dialog.m_stop.IsSet()) {
            StopCount = true;
            return false;
        }
        return true;
    }
    void OnFile(const char* path) override { ScanFile(path, &m_dialog); }
    void LookAhead(int directory, common::DirectoryReader& reader) override {
        m_readAhead.LookAhead(directory, reader);
    }

private:
    ScanDialog& m_dialog;
    ReadAhead m_readAhead;
};

void WriteTime(std::span<char> field, const char* format, std::time_t time) {
    std::tm local{};
    localtime_r(&time, &local);
    if (std::strftime(field.data(), field.size(), format, &local) == 0) {
        field[0] = '\0';
    }
}

bool IsDirectoryBehindLinks(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

void ScanFile(const char* path, QDialog* dialog) {
    if (path == nullptr) {
        return;
    }
    auto* scanDialog = static_cast<ScanDialog*>(dialog);
    PostZqEvent(scanDialog, kEvtAdvance);
    PostZqEvent(scanDialog, kEvtScanningFile, path);
    {
        Scanner scanner;
        if (scanner.Open(path) == 0) {
            return;
        }
        scanner.Scan(dialog);
        scanner.Close();
    }
    if (g_iCntLabViruses == kLabDetectionKinds) {
        Scanner::m_ScanOptns.extraFlags |= kLabScanFlag;
        Scanner::SetScanOptions(&g_scnopts);
    }
}

std::uint32_t ScanDirectory(char* directory, QDialog* dialog) {
    ScanningVisitor visitor(static_cast<ScanDialog&>(*dialog));
    return DirectoryWalker(visitor).Walk(directory);
}

ScanThrd::ScanThrd(dlgScnPrgrs* dialog) : m_dialog(dialog) {}

void ScanThrd::Join() {
    wait();
    m_ended.load(std::memory_order_acquire);
}

void ScanThrd::run() {
    m_current = nullptr;
    StopCount = false;
    g_myScnopts = {};
    ResetRunCounters();
    const std::time_t start = std::time(nullptr);
    WriteTime(g_szStrTime, "Start Time : %H:%M:%S\r\n", start);

    m_dialog->GetPathListToScan(&m_paths);
    FileCountThrd counter(m_paths, m_dialog);
    if (g_pRptObj != nullptr) {
        g_pRptObj->WriteHeader();
    }
    std::this_thread::sleep_for(kSettlingTime);

    if (m_paths != nullptr && IsDirectoryBehindLinks(m_paths->path)) {
        counter.start();
        ScanPaths();
    } else if (m_paths != nullptr) {
        // A single file, which is how the main window passes one: what follows it is not scanned.
        g_totalfilestoscan = kUnknownTotal;
        PostZqEvent(m_dialog, kEvtPathStarted, m_paths->path);
        ScanFile(m_paths->path, m_dialog);
        PostZqEvent(m_dialog, kEvtPathDone);
    }

    const std::time_t end = std::time(nullptr);
    WriteTime(g_szEndTime, "End Time :  %H:%M:%S\r\n", end);
    g_dDiffTime = std::difftime(end, start);
    counter.Join();
    PostZqEvent(m_dialog, kEvtFillBar);
    PostZqEvent(m_dialog, kEvtScanFinished, "abc");  // a filler that no one reads
    m_ended.store(true, std::memory_order_release);
}

void ScanThrd::ScanPaths() {
    for (m_current = m_paths; m_current != nullptr; m_current = m_current->next) {
        PostZqEvent(m_dialog, kEvtPathStarted, m_current->path);
        const std::uint32_t result = ScanDirectory(m_current->path, m_dialog);
        PostZqEvent(m_dialog, kEvtPathDone, m_current->path);
        if (result == kWalkStopped) {
            break;
        }
    }
}
