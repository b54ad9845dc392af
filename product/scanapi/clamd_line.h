#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "product/scanapi/clamd_backend.h"
#include "product/scanapi/scan_queue.h"
#include "product/scanapi/wakeup.h"

namespace scanapi {

/// The files of a pool that are first shown to a running clamd, and the threads that do so. What
/// that does not scan goes on to our own workers. Any thread.
class ClamdLine {
public:
    /// With `threads` threads, each of which has one file scanned at a time. What is for our own
    /// workers goes to `others`, and `wakeup` is woken; both outlive this.
    ClamdLine(const ClamdSettings& settings, std::size_t threads, ScanQueue& others,
              const Wakeup& wakeup);
    /// Stops.
    ~ClamdLine();
    ClamdLine(const ClamdLine&) = delete;
    ClamdLine& operator=(const ClamdLine&) = delete;

    void Add(const std::shared_ptr<PendingScan>& scan);

    /// What waits, is under way or comes ends as stopped. Waits for nothing.
    void Cancel();

    /// Cancels, and returns once no thread is left.
    void Stop();

private:
    using Line = std::deque<std::shared_ptr<PendingScan>>;

    void Run() noexcept;
    std::shared_ptr<PendingScan> Next();
    void Show(const std::shared_ptr<PendingScan>& scan, ClamdBackend& backend);
    std::optional<scanning::ScanOutcome> ScanOf(PendingScan& scan, ClamdBackend& backend);
    void PassOn(const std::shared_ptr<PendingScan>& scan);
    [[nodiscard]] bool IsCancelled();

    const ClamdSettings m_settings;
    const std::shared_ptr<ClamdLog> m_log = std::make_shared<ClamdLog>();
    ScanQueue& m_others;
    const Wakeup& m_wakeup;

    std::mutex m_mutex;  ///< guards what follows
    std::condition_variable m_changed;
    Line m_now;
    Line m_ahead;
    bool m_cancelled = false;

    std::vector<std::thread> m_threads;
};

}  // namespace scanapi
