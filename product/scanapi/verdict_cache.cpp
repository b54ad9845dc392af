#include "product/scanapi/verdict_cache.h"

#include <chrono>
#include <ctime>
#include <new>
#include <utility>

#include "common/log.h"
#include "product/scanapi/verdict_format.h"

namespace scanapi {

namespace {

constexpr std::int64_t kSettledSeconds = 60;
constexpr std::int64_t kCoveredSeconds = 2;
constexpr std::chrono::seconds kWritePause(5);
// Some thousand files. What waits for a disk that does not answer stays below twice this.
constexpr std::size_t kWorthWriting = kMaxBatchRecords / 2;

FileTime Later(FileTime time, std::int64_t seconds) {
    return {time.seconds + seconds, time.nanoseconds};
}

bool MayBeRemembered(const ScanSpan& scan) {
    const std::int64_t age = scan.isCovered ? kCoveredSeconds : kSettledSeconds;
    return scan.before == scan.after && Later(scan.before.changed, age) <= scan.begun;
}

}  // namespace

FileTime Now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return {now.tv_sec, static_cast<std::uint32_t>(now.tv_nsec)};
}

VerdictCache::VerdictCache(const std::string& path, const CacheSettings& settings,
                           std::string basis, FileTime (*now)())
    : m_basis(std::move(basis)), m_now(now), m_table(settings.bytes), m_latest(now()) {
    if (!settings.isOn || m_basis.size() != kBasisSize) {
        return;
    }
    std::string why;
    m_file = VerdictFile::Open(path, settings.bytes, why);
    if (!m_file) {
        WriteToLog(common::kCommonLog, ("scanapi: verdicts are not kept: " + why).c_str());
        return;
    }
    try {
        m_file->Read(m_basis, m_latest.seconds, [this](std::string_view records) {
            while (const auto record = TakeRecord(records)) {
                (void)m_table.Add(*record);
            }
        });
    } catch (const std::bad_alloc&) {
        // What was read so far is as good as the rest.
    }
}

VerdictCache::~VerdictCache() {
    Close();
}

std::optional<CachedVerdict> VerdictCache::Find(const FileIdentity& file, std::string_view baseName,
                                                const scanning::ScanProfile& profile) {
    KeyBuffer buffer;
    const std::string_view key = EncodeKey(profile, file, baseName, buffer);
    const FileTime now = m_now();
    const std::lock_guard lock(m_mutex);
    if (m_isClosed || key.empty() || IsClockBack(now) || now < file.changed) {
        return std::nullopt;
    }
    const auto record = m_table.Find(key);
    return record ? std::optional(DecodeVerdict(*record)) : std::nullopt;
}

void VerdictCache::Remember(const ScanSpan& scan, std::string_view baseName,
                            const scanning::ScanProfile& profile, const CachedVerdict& verdict) {
    if (!m_file || !MayBeRemembered(scan)) {
        return;
    }
    const std::string record = EncodeRecord({profile, scan.before, baseName, verdict});
    const FileTime now = m_now();
    const std::lock_guard lock(m_mutex);
    if (m_isClosed || record.empty() || IsClockBack(now) || now < scan.begun ||
        m_pending.size() + record.size() > kMaxBatchRecords) {
        return;
    }
    m_latest = now;
    // Where the memory for them is full, the file goes on taking the newest in.
    (void)m_table.Add(record);
    m_pending += record;
    if (!m_writer.joinable()) {
        m_writer = std::thread([this] { Write(); });
    }
    if (m_pending.size() >= kWorthWriting) {
        m_wake.notify_one();
    }
}

void VerdictCache::Write() noexcept {
    try {
        WriteBatches();
    } catch (...) {
        // Without memory nothing more is written; what is in the file stays as it is.
        WriteToLog(common::kCommonLog, "scanapi: no memory left to keep verdicts");
    }
}

void VerdictCache::WriteBatches() {
    std::unique_lock lock(m_mutex);
    while (!m_isClosed || !m_pending.empty()) {
        m_wake.wait_for(lock, kWritePause,
                        [this] { return m_isClosed || m_pending.size() >= kWorthWriting; });
        const std::string records = std::exchange(m_pending, {});
        const FileTime now = m_now();
        if (records.empty() || IsClockBack(now)) {
            continue;
        }
        lock.unlock();
        (void)m_file->Append(m_basis, now.seconds, records);
        lock.lock();
    }
}

void VerdictCache::Close() {
    {
        const std::lock_guard lock(m_mutex);
        m_isClosed = true;
    }
    m_wake.notify_one();
    if (m_writer.joinable()) {
        m_writer.join();
    }
}

std::size_t VerdictCache::Count() {
    const std::lock_guard lock(m_mutex);
    return m_table.Count();
}

}  // namespace scanapi
