#include "product/scanapi/scan_worker.h"

#include <utility>

namespace scanapi {

ScanWorker::ScanWorker() : m_thread([this] { Run(); }) {}

ScanWorker::~ScanWorker() {
    {
        const std::lock_guard lock(m_mutex);
        m_quit = true;
        for (const auto& job : {m_job, m_next}) {
            if (job != nullptr) {
                job->Stop();
            }
        }
        m_changed.notify_all();
    }
    m_thread.join();
}

bool ScanWorker::Start(std::shared_ptr<ScanJob> job) {
    const std::lock_guard lock(m_mutex);
    // A job that has finished may still be in hand for the blink until the thread puts it down.
    if (m_next != nullptr || (m_job != nullptr && !m_job->IsFinished())) {
        return false;
    }
    m_next = std::move(job);
    m_changed.notify_all();
    return true;
}

void ScanWorker::Run() noexcept {
    std::unique_lock lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return m_quit || m_next != nullptr; });
        if (m_next == nullptr) {
            return;
        }
        m_job = std::exchange(m_next, nullptr);
        lock.unlock();
        m_job->Run();
        lock.lock();
        m_job.reset();
    }
}

}  // namespace scanapi
