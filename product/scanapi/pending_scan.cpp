#include "product/scanapi/pending_scan.h"

#include <sys/stat.h>
#include <utility>

#include "common/file_state.h"
#include "product/scanning/scan_profile.h"

namespace scanapi {

namespace {

// More than any scan within its bounds tells of: some kinds of archive are looked through twice.
constexpr std::size_t kMaxTold = 4 * static_cast<std::size_t>(scanning::kMaxMembers);
constexpr std::size_t kMaxToldBytes = std::size_t{64} << 20U;

// What is not believed of a file that changed while it was scanned becomes unreadable.
void Compare(const TargetFile& file, scanning::ScanOutcome& outcome) {
    if (outcome.verdict == scanning::Verdict::Infected ||
        outcome.verdict == scanning::Verdict::Unreadable ||
        outcome.verdict == scanning::Verdict::Stopped) {
        return;
    }
    struct stat now {};
    if (::fstat(file.Descriptor(), &now) != 0 || !common::IsUnchanged(now, file.Opened())) {
        outcome = {};
        outcome.reason = "it changed while it was scanned";
    }
}

}  // namespace

PendingScan::PendingScan(std::shared_ptr<TargetFile> file, const scanning::ScanProfile& profile,
                         Urgency urgency, std::shared_ptr<Wakeup> pool)
    : m_file(std::move(file)), m_profile(profile), m_urgency(urgency), m_pool(std::move(pool)) {}

std::shared_ptr<PendingScan> PendingScan::Finished(std::shared_ptr<TargetFile> file,
                                                   const scanning::ScanProfile& profile,
                                                   std::vector<std::string> members,
                                                   scanning::ScanOutcome outcome) {
    auto scan = std::make_shared<PendingScan>(std::move(file), profile, Urgency::kNow, nullptr);
    scan->m_members = std::move(members);
    scan->Finish(std::move(outcome));
    return scan;
}

PendingScan::News PendingScan::WaitForNews(std::chrono::milliseconds limit) {
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, limit, [this] { return m_finished || !m_members.empty(); });
    News news;
    news.members.swap(m_members);
    news.finished = m_finished;
    return news;
}

bool PendingScan::IsFinished() {
    const std::lock_guard lock(m_mutex);
    return m_finished;
}

std::size_t PendingScan::ToldBytes() {
    const std::lock_guard lock(m_mutex);
    return m_told * sizeof(std::string) + m_toldBytes;
}

scanning::ScanOutcome PendingScan::TakeOutcome() {
    scanning::ScanOutcome outcome;
    {
        const std::lock_guard lock(m_mutex);
        outcome = std::move(m_outcome);
    }
    // Here, where nobody else waits for a file system that may not answer.
    if (!m_file->IsLocal()) {
        Compare(*m_file, outcome);
    }
    return outcome;
}

void PendingScan::Abandon(bool force) {
    {
        const std::lock_guard lock(m_mutex);
        m_members.clear();
        if (m_finished) {
            return;
        }
        m_abandoned = true;
        m_toBreakOff = force;
    }
    if (m_pool != nullptr) {
        m_pool->Wake();
    }
}

bool PendingScan::Tell(std::string member) {
    const std::lock_guard lock(m_mutex);
    if (m_toSkip > 0) {
        --m_toSkip;
        return true;
    }
    m_toldBytes += member.size();
    if (++m_told > kMaxTold || m_toldBytes > kMaxToldBytes) {
        return false;
    }
    if (m_recorder != nullptr) {
        m_recorder->AddMember(member);
    }
    if (!m_abandoned && !m_finished) {
        m_members.push_back(std::move(member));
        m_changed.notify_all();
    }
    return true;
}

void PendingScan::BeginAgain() {
    const std::lock_guard lock(m_mutex);
    m_toSkip = m_told;
    if (m_recorder != nullptr) {
        m_recorder->Interrupt();
    }
    ++m_timesBegunAgain;
}

int PendingScan::TimesBegunAgain() {
    const std::lock_guard lock(m_mutex);
    return m_timesBegunAgain;
}

void PendingScan::Record(std::unique_ptr<ScanRecorder> recorder) {
    const std::lock_guard lock(m_mutex);
    m_recorder = std::move(recorder);
}

void PendingScan::BeginReading() {
    const std::lock_guard lock(m_mutex);
    if (m_recorder != nullptr) {
        m_recorder->BeginReading(*m_file);
    }
}

void PendingScan::EndReading() {
    const std::lock_guard lock(m_mutex);
    if (m_recorder != nullptr) {
        m_recorder->EndReading(*m_file);
    }
}

void PendingScan::LetWriterPass() {
    const std::lock_guard lock(m_mutex);
    if (m_recorder != nullptr) {
        m_recorder->LetWriterPass();
    }
}

void PendingScan::Finish(scanning::ScanOutcome outcome) {
    if (m_file->IsLocal()) {
        Compare(*m_file, outcome);
    }
    const std::lock_guard lock(m_mutex);
    if (m_finished) {
        return;
    }
    if (m_recorder != nullptr) {
        m_recorder->Remember(*m_file, m_profile, outcome.verdict);
        m_recorder.reset();
    }
    m_outcome = std::move(outcome);
    m_finished = true;
    m_changed.notify_all();
}

void PendingScan::FinishUnread(std::string_view reason) {
    scanning::ScanOutcome outcome;
    outcome.reason = reason;
    Finish(std::move(outcome));
}

void PendingScan::FinishStopped() {
    scanning::ScanOutcome outcome;
    outcome.verdict = scanning::Verdict::Stopped;
    Finish(std::move(outcome));
}

bool PendingScan::IsAbandoned() {
    const std::lock_guard lock(m_mutex);
    return m_abandoned;
}

bool PendingScan::IsToBreakOff() {
    const std::lock_guard lock(m_mutex);
    return m_toBreakOff;
}

}  // namespace scanapi
