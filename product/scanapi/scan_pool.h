#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "product/definitions/engine_databases.h"
#include "product/scanapi/clamd_line.h"
#include "product/scanapi/file_scanner.h"
#include "product/scanapi/host_session.h"
#include "product/scanapi/pending_scan.h"
#include "product/scanapi/pool_settings.h"
#include "product/scanapi/scan_queue.h"
#include "product/scanapi/verdict_keeper.h"

namespace scanapi {

using definitions::Database;

/// Scans files with one set of databases: a scan host that loads them, its workers, and a thread
/// of the pool's own that talks to them. Plain files are shown to a running clamd first where the
/// settings say so. A worker that ends costs the file that it was at; a host
/// that ends is started again, at most kMaxRestarts times a run. Any thread.
class ScanPool : public FileScanner, private HostSession::Owner {
public:
    static constexpr int kMaxRestarts = 3;

    ScanPool(std::vector<Database> databases, PoolSettings settings);
    /// Stops.
    ~ScanPool() override;

    enum class Beginning {
        kAtOnce,
        kWhenNeeded,  ///< with the first file that its own workers have to scan
    };
    /// Begins to load; called once.
    void Start(Beginning beginning = Beginning::kAtOnce);

    /// Waits at most `limit`; true when loading has ended or was given up.
    bool WaitFor(std::chrono::milliseconds limit);

    /// Whether databases were loaded, or will be when they are needed. Stays true while a host that
    /// ended is started again.
    [[nodiscard]] bool IsLoaded();

    /// Whether loading has not begun, since nothing has needed it.
    [[nodiscard]] bool IsIdle();

    /// The databases that are loaded; until loading ends, those that are to be.
    [[nodiscard]] std::vector<Database> Databases();

    /// The databases that could not be loaded, so far.
    [[nodiscard]] std::vector<Database> LeftOut();

    /// The memory, in bytes, that the host took when it had loaded; 0 before that.
    [[nodiscard]] std::uint64_t MemoryTaken();

    /// Finished at once also when nothing is loaded, or the pool was cancelled.
    std::shared_ptr<PendingScan> Submit(std::shared_ptr<TargetFile> file,
                                        const scanning::ScanProfile& profile,
                                        Urgency urgency) override;

    /// A run begins: the host may be started again as often as at first.
    void BeginRun();

    /// Makes every wait return: what waits or is under way ends as stopped. The host goes on its
    /// own to its end.
    void Cancel();

    /// Cancels, and returns once the host, its workers and the pool's thread are gone.
    void Stop();

private:
    enum class State { kIdle, kLoading, kLoaded, kFailed };

    // Of the pool's thread.
    void Run() noexcept;
    void RunHosts();
    void AwaitNeed();
    bool RunHost();
    bool MayStartAgain(const std::string& why);
    void GiveUp(const scanning::ScanOutcome& outcome);
    void AwaitNextHost();
    void OnLeftOut(const std::string& path, const std::string& reason) override;
    void OnLoaded(std::uint64_t memory) override;
    void OnNotLoaded(const std::string& reason) override;
    [[nodiscard]] bool IsCancelled() override;

    const PoolSettings m_settings;
    const std::shared_ptr<Wakeup> m_wakeup = std::make_shared<Wakeup>();
    ScanQueue m_queue;
    VerdictKeeper m_verdicts;
    std::unique_ptr<ClamdLine> m_clamd;  ///< null without one

    std::mutex m_mutex;  ///< guards what follows
    std::condition_variable m_changed;
    std::vector<Database> m_databases;
    std::vector<Database> m_leftOut;
    std::uint64_t m_memoryTaken = 0;
    State m_state = State::kLoading;
    bool m_cancelled = false;
    bool m_hopeless = false;  ///< these databases cannot be loaded
    int m_restarts = 0;       ///< in this run

    std::thread m_thread;
};

}  // namespace scanapi
