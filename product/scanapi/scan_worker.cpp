#include "product/scanapi/scan_worker.h"

#include <utility>

#include "product/scanapi/left_behind.h"

namespace scanapi {

std::shared_ptr<ScanWorker> ScanWorker::Make() {
    std::shared_ptr<ScanWorker> worker(new ScanWorker);
    worker->m_thread = std::thread([worker] { worker->Run(); });
    return worker;
}

void ScanWorker::End() {
    std::unique_lock lock(m_mutex);
    m_quit = true;
    for (const auto& job : {m_job, m_next}) {
        if (job != nullptr) {
            job->Stop();
        }
    }
    m_changed.notify_all();
    const bool ended = m_changed.wait_for(lock, kEndPatience, [this] { return m_ended; });
    lock.unlock();
    if (ended) {
        m_thread.join();
    } else {
        KeepLibraryLoaded();
        m_thread.detach();
    }
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
            m_ended = true;
            m_changed.notify_all();
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
