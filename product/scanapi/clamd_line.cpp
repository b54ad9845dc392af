#include "product/scanapi/clamd_line.h"

#include <exception>
#include <system_error>
#include <utility>

#include "product/scanapi/engine_log.h"
#include "product/scanapi/signals_held.h"

namespace scanapi {

ClamdLine::ClamdLine(const ClamdSettings& settings, std::size_t threads, ScanQueue& others,
                     const Wakeup& wakeup)
    : m_settings(settings), m_others(others), m_wakeup(wakeup) {
    const SignalsHeld held;
    try {
        while (m_threads.size() < threads) {
            m_threads.emplace_back(&ClamdLine::Run, this);
        }
    } catch (const std::system_error& error) {
        // Fewer will do, and without any our own workers scan.
        LogLine(std::string("a clamd is asked by fewer threads: ") + error.what());
    }
}

ClamdLine::~ClamdLine() {
    Stop();
}

void ClamdLine::Stop() {
    Cancel();
    for (std::thread& thread : m_threads) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}

void ClamdLine::Add(const std::shared_ptr<PendingScan>& scan) {
    // Large files are left to our own workers: whether they hold anything is not seen here. And no
    // thread of ours reads where that may take for ever.
    const bool isToShow = !m_threads.empty() && scan->File().IsReadable() &&
                          scan->File().IsLocal() && scan->File().Size() <= kMaxHandedOver;
    bool isTaken = false;
    if (isToShow) {
        const std::lock_guard lock(m_mutex);
        isTaken = !m_cancelled;
        if (isTaken) {
            (scan->HowUrgent() == Urgency::kNow ? m_now : m_ahead).push_back(scan);
            m_changed.notify_one();
        }
    }
    if (!isTaken) {
        PassOn(scan);
    }
}

void ClamdLine::PassOn(const std::shared_ptr<PendingScan>& scan) {
    m_others.Add(scan);
    m_wakeup.Wake();
}

void ClamdLine::Cancel() {
    Line waiting;
    {
        const std::lock_guard lock(m_mutex);
        m_cancelled = true;
        waiting.swap(m_now);
        waiting.insert(waiting.end(), m_ahead.begin(), m_ahead.end());
        m_ahead.clear();
        m_changed.notify_all();
    }
    for (const auto& scan : waiting) {
        scan->FinishStopped();
    }
}

bool ClamdLine::IsCancelled() {
    const std::lock_guard lock(m_mutex);
    return m_cancelled;
}

// Null once it is cancelled.
std::shared_ptr<PendingScan> ClamdLine::Next() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_cancelled || !m_now.empty() || !m_ahead.empty(); });
    if (m_cancelled) {
        return nullptr;
    }
    Line& line = m_now.empty() ? m_ahead : m_now;
    auto next = std::move(line.front());
    line.pop_front();
    return next;
}

void ClamdLine::Run() noexcept {
    try {
        ClamdBackend backend(m_settings, m_log);
        while (const auto scan = Next()) {
            Show(scan, backend);
        }
    } catch (...) {
        LogLine("unknown failure");
    }
}

void ClamdLine::Show(const std::shared_ptr<PendingScan>& scan, ClamdBackend& backend) {
    std::optional<scanning::ScanOutcome> outcome;
    try {
        outcome = ScanOf(*scan, backend);
    } catch (const std::exception&) {
        // Without memory: our own workers do with less.
        outcome.reset();
    }
    if (outcome) {
        scan->Finish(*std::move(outcome));
    } else {
        PassOn(scan);
    }
}

std::optional<scanning::ScanOutcome> ClamdLine::ScanOf(PendingScan& scan, ClamdBackend& backend) {
    const TargetFile& file = scan.File();
    std::vector<std::byte> all(file.Size());
    if (file.ReadStart(all) != static_cast<std::ptrdiff_t>(all.size())) {
        return std::nullopt;  // our own worker says what is wrong with it
    }
    return backend.Scan(file.Descriptor(), all, scan.Profile(),
                        [&] { return scan.IsAbandoned() || IsCancelled(); });
}

}  // namespace scanapi
