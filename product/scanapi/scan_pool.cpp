#include "product/scanapi/scan_pool.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <poll.h>
#include <utility>

#include "abi/scanapi.h"
#include "common/escaped_text.h"
#include "product/scanapi/engine_log.h"
#include "product/scanapi/signals_held.h"

namespace scanapi {

namespace {

constexpr char kNoHost[] = "what scans files ended again and again";

scanning::ScanOutcome Unread(std::string_view reason) {
    scanning::ScanOutcome outcome;
    outcome.reason = reason;
    return outcome;
}

scanning::ScanOutcome Stopped() {
    scanning::ScanOutcome outcome;
    outcome.verdict = scanning::Verdict::Stopped;
    return outcome;
}

}  // namespace

ScanPool::ScanPool(std::vector<Database> databases, PoolSettings settings)
    : m_settings(std::move(settings)), m_verdicts(m_settings), m_databases(std::move(databases)) {
    if (m_settings.clamd.isOn) {
        m_clamd =
            std::make_unique<ClamdLine>(m_settings.clamd, m_settings.workers, m_queue, *m_wakeup);
    }
}

ScanPool::~ScanPool() {
    Stop();
}

void ScanPool::Start(Beginning beginning) {
    if (beginning == Beginning::kWhenNeeded && m_wakeup->Descriptor() >= 0) {
        m_state = State::kIdle;
    }
    // No handler of the program's is called on the thread, and no signal to it ends the program.
    const SignalsHeld held;
    m_thread = std::thread([this] { Run(); });
}

bool ScanPool::WaitFor(std::chrono::milliseconds limit) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, limit,
                              [this] { return m_state != State::kLoading || m_cancelled; });
}

bool ScanPool::IsLoaded() {
    const std::lock_guard lock(m_mutex);
    return m_state == State::kLoaded || m_state == State::kIdle;
}

bool ScanPool::IsIdle() {
    const std::lock_guard lock(m_mutex);
    return m_state == State::kIdle;
}

std::vector<Database> ScanPool::Databases() {
    const std::lock_guard lock(m_mutex);
    return m_databases;
}

std::vector<Database> ScanPool::LeftOut() {
    const std::lock_guard lock(m_mutex);
    return m_leftOut;
}

std::uint64_t ScanPool::MemoryTaken() {
    const std::lock_guard lock(m_mutex);
    return m_memoryTaken;
}

std::shared_ptr<PendingScan> ScanPool::Submit(std::shared_ptr<TargetFile> file,
                                              const scanning::ScanProfile& profile,
                                              Urgency urgency) {
    auto scan = std::make_shared<PendingScan>(std::move(file), profile, urgency, m_wakeup);
    if (!scan->File().IsReadable()) {
        scan->FinishUnread(std::string(scan->File().WhyClosed()));
    } else if (scan->File().Size() > static_cast<std::size_t>(scanning::kMaxFileSize)) {
        scan->FinishUnread("it is too large");
    } else if (m_verdicts.Answer(*scan)) {
        return scan;
    } else if (m_clamd != nullptr) {
        m_clamd->Add(scan);
    } else {
        m_queue.Add(scan);
        m_wakeup->Wake();
    }
    return scan;
}

void ScanPool::BeginRun() {
    const std::lock_guard lock(m_mutex);
    m_restarts = 0;
    if (!m_cancelled && !m_hopeless) {
        AwaitNextHost();
    }
    m_changed.notify_all();
}

// With the mutex held. Also of a pool that gave up: what comes from now on waits for the next host.
void ScanPool::AwaitNextHost() {
    m_state = m_state == State::kFailed ? State::kLoading : m_state;
    m_queue.Open();
}

void ScanPool::Cancel() {
    {
        const std::lock_guard lock(m_mutex);
        m_cancelled = true;
        m_changed.notify_all();
    }
    if (m_clamd != nullptr) {
        m_clamd->Cancel();
    }
    m_queue.Close(Stopped());
    m_wakeup->Wake();
}

void ScanPool::Stop() {
    Cancel();
    // It stays: somebody may just be handing in a file.
    if (m_clamd != nullptr) {
        m_clamd->Stop();
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
    m_verdicts.Close();
}

bool ScanPool::IsCancelled() {
    const std::lock_guard lock(m_mutex);
    return m_cancelled;
}

void ScanPool::OnLeftOut(const std::string& path, const std::string& reason) {
    const std::lock_guard lock(m_mutex);
    const auto found = std::find_if(m_databases.begin(), m_databases.end(),
                                    [&](const Database& each) { return each.path == path; });
    if (found != m_databases.end()) {
        LogLeftOut(path, reason);
        m_leftOut.push_back(std::move(*found));
        m_databases.erase(found);
    }
}

void ScanPool::OnLoaded(std::uint64_t memory) {
    m_verdicts.AfterLoading(Databases());
    const std::lock_guard lock(m_mutex);
    m_state = State::kLoaded;
    m_memoryTaken = memory;
    m_changed.notify_all();
}

void ScanPool::OnNotLoaded(const std::string& reason) {
    LogLine("no database could be loaded, files cannot be scanned" +
            (reason.empty() ? "" : ": " + common::Escaped(reason)));
    const std::lock_guard lock(m_mutex);
    m_hopeless = true;
}

void ScanPool::Run() noexcept {
    try {
        RunHosts();
    } catch (const std::exception& error) {
        LogLine(error.what());
    } catch (...) {
        LogLine("unknown failure");
    }
    GiveUp(IsCancelled() ? Stopped() : Unread(kNoHost));
}

void ScanPool::RunHosts() {
    AwaitNeed();
    bool goesOn = !IsCancelled();
    while (goesOn) {
        goesOn = RunHost();
    }
}

void ScanPool::AwaitNeed() {
    while (IsIdle() && !IsCancelled()) {
        if (m_queue.HasAny()) {
            const std::lock_guard lock(m_mutex);
            m_state = State::kLoading;
            return;
        }
        pollfd poll{m_wakeup->Descriptor(), POLLIN, 0};
        (void)::poll(&poll, 1, -1);
        m_wakeup->Clear();
    }
}

// False when there is no more to do, ever.
bool ScanPool::RunHost() {
    std::string why = "what scans files ended";
    {
        HostSession session(m_settings, m_queue, *m_wakeup, *this);
        const auto databases = Databases();
        m_verdicts.BeforeLoading(databases);
        if (!session.Run(databases)) {
            why = "(" + m_settings.host + ") could not be started: " + std::strerror(errno);
        }
    }
    return MayStartAgain(why);
}

bool ScanPool::MayStartAgain(const std::string& why) {
    std::unique_lock lock(m_mutex);
    if (m_cancelled) {
        return false;
    }
    if (!m_hopeless && ++m_restarts <= kMaxRestarts) {
        lock.unlock();
        LogLine(why + "; it is started again");
        return true;
    }
    const bool isHopeless = m_hopeless;
    lock.unlock();
    if (!isHopeless) {
        LogLine(why + " again and again: files are not scanned");
    }
    GiveUp(Unread(isHopeless ? kReasonNoDefinitions : kNoHost));
    lock.lock();
    m_changed.wait(lock, [this] { return m_cancelled || (!m_hopeless && m_restarts == 0); });
    if (m_cancelled) {
        return false;
    }
    // Once more: the run may have begun before this gave up.
    AwaitNextHost();
    return true;
}

void ScanPool::GiveUp(const scanning::ScanOutcome& outcome) {
    m_queue.Close(outcome);
    const std::lock_guard lock(m_mutex);
    if (m_state == State::kLoading || m_hopeless) {
        m_state = State::kFailed;
    }
    m_changed.notify_all();
}

}  // namespace scanapi
