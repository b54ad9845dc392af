#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "product/scanapi/scan_job.h"

namespace scanapi {

/// A thread that carries out one job after another.
class ScanWorker {
public:
    ScanWorker();

    /// Stops the job in hand and waits for the thread.
    ~ScanWorker();

    ScanWorker(const ScanWorker&) = delete;
    ScanWorker& operator=(const ScanWorker&) = delete;

    /// Takes a job. False when the one before is still under way.
    bool Start(std::shared_ptr<ScanJob> job);

private:
    void Run() noexcept;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::shared_ptr<ScanJob> m_job;   ///< in hand
    std::shared_ptr<ScanJob> m_next;  ///< taken, not yet begun
    bool m_quit = false;
    std::thread m_thread;
};

}  // namespace scanapi
