#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "abi/scanapi.h"
#include "common/path_list.h"
#include "scan/run/prompt_handshake.h"
#include "scan/run/scan_listener.h"
#include "scan/run/scan_state.h"
#include "scan/run/stop_flag.h"
#include "scan/run/unread_files.h"

namespace scan {

class PathFilter;
class ScanEngine;
class WalkScout;

/// The thread beside the scan that counts its files. Made and used by the scan thread.
class CountingThread {
public:
    CountingThread() = default;
    virtual ~CountingThread() = default;
    CountingThread(const CountingThread&) = delete;
    CountingThread& operator=(const CountingThread&) = delete;

    /// Begins to run ScanRun::Count().
    virtual void Start() = 0;
    /// Waits for its end, at once when it was never started.
    virtual void Join() = 0;
};

/// One on-demand scan and all that it changes: paths, counters, times, the report, the stop flag,
/// the open question and its answer. Needs no window: it tells a listener what happens, and asks
/// it.
///
/// A scan is Begin() and then Scan(). Whoever is told hands the steps to Apply().
class ScanRun {
public:
    /// Both outlive the run, and so does what SetPaths() is given.
    ScanRun(ScanListener& listener, ScanEngine& engine);
    ~ScanRun();
    ScanRun(const ScanRun&) = delete;
    ScanRun& operator=(const ScanRun&) = delete;

    /// Forgets what earlier scans have detected. Before each scan, also one that is then not begun.
    static void ForgetDetections();

    // Before the scan. The list may be read by any thread once it has begun.
    void SetPaths(tagPathList* paths) { m_paths = paths; }
    [[nodiscard]] tagPathList* Paths() const { return m_paths; }

    /// Instead: paths of up to 1,023 bytes that are all scanned, folders and files alike.
    void SetMixedPaths(std::vector<std::string> paths) { m_mixedPaths = std::move(paths); }

    /// What is left out of scan and count below the paths; null for nothing. It outlives the run.
    void SetFilter(const PathFilter* filter) { m_filter = filter; }
    void ForgetTotal();

    // The scan thread.

    /// Zeroes counters and answer, notes the start and writes the report's header.
    void Begin();

    /// Scans the paths with `counting` beside it. The last thing it tells is kEvtScanFinished.
    ///
    /// A first path of SetPaths() that is no directory is scanned as the only file, whatever
    /// follows it.
    void Scan(CountingThread& counting);

    /// Hands one file, named by bytes, to the engine.
    void ScanFile(const char* path);

    /// Scans every regular file under `directory`. With the stop flag set it asks there whether to
    /// stop. A WalkResult; State().stopCount is set with kWalkStopped.
    std::uint32_t ScanDirectory(const char* directory);

    /// What the engine is answered to a message. Throws nothing into it: for want of memory a file
    /// that is infected is left alone.
    EngineReply Reply(const tagZQFILEINFO& info) noexcept;

    void Tell(const ScanStep& step) { m_listener.Tell(step); }

    void TellPassedOver(const char* path, int error) { m_listener.PassedOver(path, error); }

    /// Asks and waits for the answer, with no time limit.
    void Ask(const ScanStep& question);

    [[nodiscard]] tagSCANAPI_OPTIONS& EngineOptions();

    // The counting thread.

    /// Counts the files of all paths, then tells kEvtCountingDone.
    void Count();

    // The one thread that is told.

    /// Counts the step and writes it into the report; see RecordStep. A kEvtPrompt becomes what
    /// State().askedAbout points to.
    std::uint32_t Apply(const ScanStep& step);

    /// Of the steps that Apply() was given since Begin().
    [[nodiscard]] const UnreadFiles& Unread() const { return m_unread; }

    // Any thread.

    /// Answers the open question.
    void Answer() { m_questions.Answer(); }

    /// There is no one left to ask: the scan stops and asks nothing any more.
    void Abandon();
    [[nodiscard]] bool IsAbandoned() const { return m_questions.IsClosed(); }

    [[nodiscard]] StopFlag& Stop() { return m_stop; }
    [[nodiscard]] ScanState& State() { return m_state; }

private:
    [[nodiscard]] std::vector<const char*> Tops() const;
    [[nodiscard]] bool IsFile(const char* top) const;
    void ScanPaths(std::span<const char* const> tops);
    std::uint32_t ScanTop(const char* top, WalkScout& scout);
    std::uint32_t ScanDirectory(const char* directory, WalkScout& scout);
    void NoteEnd();

    ScanListener& m_listener;
    ScanEngine& m_engine;
    ScanState m_state;
    StopFlag m_stop;
    PromptHandshake m_questions;
    tagPathList* m_paths = nullptr;
    std::vector<std::string> m_mixedPaths;
    const PathFilter* m_filter = nullptr;
    std::time_t m_start = 0;
    std::atomic<bool> m_isScanning{false};
    tagZQFILEINFO m_asked{};  // what the prompt asks about
    UnreadFiles m_unread;
};

}  // namespace scan
