#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "product/scanapi/scan_job.h"

namespace scanapi {

/// A thread that carries out one job after another and shares in the worker.
class ScanWorker : public std::enable_shared_from_this<ScanWorker> {
public:
    static std::shared_ptr<ScanWorker> Make();

    /// Stops the job in hand and ends the thread. Returns soon in any case: a thread deep in one
    /// large member is left to end by itself. Called once.
    void End();

    ScanWorker(const ScanWorker&) = delete;
    ScanWorker& operator=(const ScanWorker&) = delete;

    /// Takes a job. False when the one before is still under way.
    bool Start(std::shared_ptr<ScanJob> job);

private:
    ScanWorker() = default;
    void Run() noexcept;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::shared_ptr<ScanJob> m_job;   ///< in hand
    std::shared_ptr<ScanJob> m_next;  ///< taken, not yet begun
    bool m_quit = false;
    bool m_ended = false;
    std::thread m_thread;
};

}  // namespace scanapi
