#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "common/timed_mutex.h"
#include "product/shellscan/path_sources.h"
#include "product/shellscan/progress_bar.h"
#include "product/shellscan/run_writer.h"
#include "product/shellscan/shell_engine.h"
#include "scan/run/scan_run.h"

namespace shellscan {

/// One scan and who is told of it: the writers, standard error, the progress bar. The scan has a
/// thread of its own; whoever waits beside it may end everything at any time.
class Session : public scan::ScanListener {
public:
    Session();

    // Before Work(). Writers and the bar outlive the session.
    void AddWriter(RunWriter& writer) { m_writers.push_back(&writer); }
    void SetProgressBar(ProgressBar& bar) { m_bar = &bar; }
    /// Whether standard error tells what was not read.
    void SetTellsUnread(bool tells) { m_tellsUnread = tells; }

    /// The scanning thread: starts the engine, scans the paths, and ends when no more will be told.
    /// Where the scan cannot run Problem() tells why. Throws nothing.
    void Work(PathsToScan paths, const scan::PathFilter& filter) noexcept;

    /// After Work(), on its thread: ends the engine.
    void EndEngine() { m_engine.End(); }

    // Another thread.

    /// Asks the scan to end. What is under way is given up soon.
    void Stop();

    /// Ends the report, whether or not the scan is over, of which nothing is told from here on.
    /// Waits until a file that is just being dealt with is written down, but at most that long for
    /// each. False when the scan has not begun or somebody is in the way: there is no report.
    bool Finish(std::chrono::milliseconds patience);

    void DrawProgress();

    // After Finish().
    [[nodiscard]] const RunSummary& Summary() const { return m_summary; }

    /// Why the scan could not run, empty when it could.
    [[nodiscard]] const std::string& Problem() const { return m_problem; }

    void Tell(const scan::ScanStep& step) override;
    void PassedOver(const char* path, int error) override;
    void Ask(const scan::ScanStep& question) override;

private:
    static int OnMessage(const tagZQFILEINFO* info, void* context) noexcept;

    void Begin();
    void Record(const scan::ScanStep& step);
    void RecordUnread(std::string_view path, std::string_view reason);
    void LookAfterWriters();

    ShellEngine m_engine;
    scan::ScanRun m_run;
    std::vector<RunWriter*> m_writers;
    ProgressBar* m_bar = nullptr;
    bool m_tellsUnread = true;

    common::TimedMutex m_replying;  // held while the engine is answered
    common::TimedMutex m_telling;   // guards all that follows
    bool m_hasBegun = false;
    bool m_isOver = false;
    bool m_isInPath = false;    // a section of the report is not ended yet
    bool m_isComplete = false;  // the scan came to its own end
    RunSummary m_summary;
    std::string m_problem;
    // What Finish() holds from then on: a scan that goes on tells nothing more, and nothing more is
    // done to a file.
    std::unique_lock<common::TimedMutex> m_endReplying;
    std::unique_lock<common::TimedMutex> m_endTelling;

    std::atomic<std::uint64_t> m_done = 0;
    std::atomic<bool> m_isCounted = false;
};

}  // namespace shellscan
