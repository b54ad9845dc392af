#include "product/scanapi/scan_job.h"

#include <span>
#include <utility>

namespace scanapi {

namespace {

// The worker waits for the program rather than run ahead of it.
constexpr std::size_t kMaxWaitingMembers = 64;

}  // namespace

scanning::ScanInput InputOf(const TargetFile& file) {
    return {file.BaseName(), file.Descriptor(), file.Size()};
}

ScanJob::ScanJob(LibraryEngine engine, const scanning::ScanProfile& profile,
                 std::shared_ptr<TargetFile> file, FileBytes bytes)
    : m_engine(std::move(engine)),
      m_profile(profile),
      m_file(std::move(file)),
      m_bytes(std::move(bytes)) {}

void ScanJob::Run() noexcept {
    scanning::ScanOutcome outcome;
    try {
        scanning::ScanManner manner;
        manner.onMember = [this](std::string member) { Announce(std::move(member)); };
        manner.stop = &m_stop;
        const scanning::ScanInput input = InputOf(*m_file);
        outcome = m_bytes.buffer != nullptr
                      ? scanning::ScanBytes(m_engine.get(), m_profile, input,
                                            std::span(m_bytes.buffer.get(), m_bytes.size), manner)
                      : scanning::ScanDescriptor(m_engine.get(), m_profile, input, manner);
    } catch (...) {
        // Out of memory: the file was not scanned, which is what the fresh outcome says.
        outcome = {};
    }
    const std::lock_guard lock(m_mutex);
    m_outcome = std::move(outcome);
    m_finished = true;
    m_changed.notify_all();
}

void ScanJob::Announce(std::string member) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_members.size() < kMaxWaitingMembers || m_stop; });
    m_members.push_back(std::move(member));
    m_changed.notify_all();
}

void ScanJob::Stop() {
    const std::lock_guard lock(m_mutex);
    m_stop = true;
    m_changed.notify_all();
}

ScanJob::News ScanJob::WaitForNews(std::chrono::milliseconds limit) {
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, limit, [this] { return m_finished || !m_members.empty(); });
    News news;
    news.members.swap(m_members);
    news.finished = m_finished;
    m_changed.notify_all();
    return news;
}

bool ScanJob::IsFinished() {
    const std::lock_guard lock(m_mutex);
    return m_finished;
}

scanning::ScanOutcome ScanJob::TakeOutcome() {
    const std::lock_guard lock(m_mutex);
    return std::move(m_outcome);
}

FileBytes ScanJob::TakeBytes() {
    const std::lock_guard lock(m_mutex);
    return std::move(m_bytes);
}

}  // namespace scanapi
