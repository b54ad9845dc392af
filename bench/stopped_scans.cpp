// bench_stopped_scans APPLICATION-DIRECTORY COUNT SECONDS PATH...
//
// COUNT scans of the paths without a window, each stopped at another moment of its first SECONDS:
// the moments are evenly spread and taken in a fixed disorder. Measured is what passes from the
// flag until the scan has ended, its question answered at once. Prints one line
//
//   stops=N early=N median=S longest=S
//
// early: scans that ended by themselves before they were stopped; they do not count.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/measurements.h"
#include "common/path_list.h"
#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/files/report_generator.h"
#include "scan/run/engine_library.h"
#include "scan/run/engine_options.h"
#include "scan/run/plain_counting_thread.h"
#include "scan/run/scan_engine.h"
#include "scan/run/scan_run.h"

namespace {

constexpr tagSCNOPTS kSettings{kActionReportOnly,
                               kScanArchives | kScanAdware | kScanDumb | kScanPacked};

class StoppedScan : public scan::ScanListener, public scan::ScanEngine {
public:
    StoppedScan(scan::EngineLibrary& library, tagSCANAPI_OPTIONS& options, tagPathList* paths)
        : m_library(library), m_options(options) {
        m_run.SetPaths(paths);
    }

    /// Seconds from the flag to the end; negative when the scan ended before.
    double Measure(std::chrono::duration<double> moment) {
        Stopwatch sinceStop;
        bool isEarly = false;
        m_library.ForgetDetections();
        scan::ScanRun::ForgetDetections();
        m_run.Begin();
        std::thread scanning([this] {
            scan::PlainCountingThread counting(m_run);
            m_run.Scan(counting);
            m_hasEnded = true;
        });
        std::this_thread::sleep_for(moment);
        isEarly = m_hasEnded;
        sinceStop = Stopwatch();
        m_run.Stop().Set();
        scanning.join();
        return isEarly ? -1 : sinceStop.Seconds();
    }

    static int Answer(const tagZQFILEINFO* info, void* context) {
        auto& self = *static_cast<StoppedScan*>(context);
        return info == nullptr ? kReplyGoOn : self.m_run.Reply(*info);
    }

private:
    void Tell(const scan::ScanStep& step) override {
        const std::lock_guard lock(m_telling);
        m_run.Apply(step);
    }
    // The flag stays: to stop is what was meant.
    void Ask(const scan::ScanStep& question) override {
        Tell(question);
        m_run.Answer();
    }
    bool ScanFile(const char* path) override {
        std::uint64_t handle = 0;
        if (!m_library.Open(path, handle)) {
            return false;
        }
        m_library.Scan(handle, this);
        m_library.Close(handle);
        return true;
    }
    tagSCANAPI_OPTIONS& Options() override { return m_options; }
    void SendOptions() override {
        scan::RefreshEngineOptions(m_options, kSettings);
        m_library.SetOptions(m_options);
    }
    void FilesAhead(int folder, const char* path, std::span<const char* const> names) override {
        m_library.FilesAhead(folder, path, names);
    }

    scan::EngineLibrary& m_library;
    tagSCANAPI_OPTIONS& m_options;
    std::mutex m_telling;
    std::atomic<bool> m_hasEnded{false};
    scan::ScanRun m_run{*this, *this};
};

std::vector<double> Moments(int count, double seconds) {
    std::vector<double> moments;
    moments.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        moments.push_back(seconds * (i + 0.5) / count);
    }
    std::shuffle(moments.begin(), moments.end(), std::mt19937(1));  // the same each time
    return moments;
}

int Usage() {
    std::fputs("Usage: bench_stopped_scans APPLICATION-DIRECTORY COUNT SECONDS PATH...\n", stderr);
    return EXIT_FAILURE;
}

int MeasureAll(scan::EngineLibrary& library, tagSCANAPI_OPTIONS& options,
               const std::vector<double>& moments) {
    std::vector<double> results;
    int early = 0;
    for (const double moment : moments) {
        g_pRptObj = std::make_unique<ReportGen>(g_pPLstHead);
        const double result = std::make_unique<StoppedScan>(library, options, g_pPLstHead)
                                  ->Measure(std::chrono::duration<double>(moment));
        g_pRptObj.reset();
        if (result < 0) {
            ++early;
        } else {
            results.push_back(result);
        }
    }
    if (results.empty()) {
        std::fputs("no scan lasted until it was stopped\n", stderr);
        return EXIT_FAILURE;
    }
    std::sort(results.begin(), results.end());
    std::printf("stops=%zu early=%d median=%.3f longest=%.3f\n", results.size(), early,
                results[results.size() / 2], results.back());
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
    if (argc < 5 || !std::string_view(arguments[1]).ends_with('/') ||
        !common::CopyToField(g_szAppPath, arguments[1])) {
        return Usage();
    }
    const int count = std::atoi(arguments[2]);
    const double seconds = std::atof(arguments[3]);
    if (count <= 0 || seconds <= 0) {
        return Usage();
    }
    for (const char* path : arguments.subspan(4)) {
        if (!common::AppendPath(g_pPLstHead, g_pPLstCurr, path)) {
            return Usage();
        }
    }
    scan::EngineLibrary library;
    tagSCANAPI_OPTIONS options{};
    g_scnopts = kSettings;
    if (!library.Load(common::InProgramDirectory(kScanApiLibrary).c_str()) ||
        !scan::BuildEngineOptions(options, kSettings, arguments[1]) ||
        !library.Start(options, StoppedScan::Answer)) {
        std::fputs("the scan engine could not be started\n", stderr);
        return EXIT_FAILURE;
    }
    // It takes no file before its signatures are loaded; a directory it takes never.
    std::uint64_t handle = 0;
    library.Open("/", handle);
    const int status = MeasureAll(library, options, Moments(count, seconds));
    library.Unload();
    common::FreePathList(g_pPLstHead, g_pPLstCurr);
    return status;
}
