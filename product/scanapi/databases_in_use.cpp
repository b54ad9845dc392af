#include "product/scanapi/databases_in_use.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <string_view>
#include <utility>

#include "product/scanapi/engine_log.h"

namespace scanapi {

namespace {

constexpr std::chrono::milliseconds kNow(0);

std::string_view StemOf(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return name.substr(0, name.find('.'));
}

// The database among `had` that `next` could not load, for want of memory perhaps; empty without.
std::string LostBy(ScanPool& next, const std::vector<Database>& had) {
    for (const Database& lost : next.LeftOut()) {
        if (std::any_of(had.begin(), had.end(), [&](const Database& each) {
                return StemOf(each.path) == StemOf(lost.path);
            })) {
            return lost.path;
        }
    }
    return {};
}

// Whether `next` has loaded all that it should have of what was there before.
bool IsWhole(ScanPool& next, const std::vector<Database>& had) {
    const std::string lost = LostBy(next, had);
    if (!lost.empty()) {
        LogLine("the new definitions wait, for (" + lost +
                ") could not be loaded, and is in use as it was");
    }
    return lost.empty();
}

}  // namespace

DatabasesInUse::DatabasesInUse(std::string engineDirectory, std::vector<Database> first,
                               const std::string& set, const PoolSettings& settings,
                               std::chrono::milliseconds retryInterval, AvailableMemory available)
    : m_engineDirectory(std::move(engineDirectory)),
      m_retryInterval(retryInterval),
      m_available(std::move(available)),
      m_active(Load(set, std::move(first), settings, BeginningOf(settings))) {}

DatabasesInUse::~DatabasesInUse() {
    Stop();
}

DatabasesInUse::Loading DatabasesInUse::Load(const std::string& set,
                                             std::vector<Database> databases,
                                             const PoolSettings& settings,
                                             ScanPool::Beginning beginning) {
    Loading loading{set, settings, std::make_shared<ScanPool>(std::move(databases), settings)};
    loading.pool->Start(beginning);
    return loading;
}

// Where a clamd has the databases in memory already, they are loaded once more only for what it
// does not scan.
ScanPool::Beginning DatabasesInUse::BeginningOf(const PoolSettings& settings) {
    return settings.clamd.isOn ? ScanPool::Beginning::kWhenNeeded : ScanPool::Beginning::kAtOnce;
}

void DatabasesInUse::Reject(const std::string& set) {
    m_rejected = set;
    m_rejectedAt = Clock::now();
}

void DatabasesInUse::TakeLoaded() {
    if (m_next.pool == nullptr || !m_next.pool->WaitFor(kNow)) {
        return;
    }
    Loading next = std::exchange(m_next, {});
    const auto had =
        m_active.pool->IsLoaded() ? m_active.pool->Databases() : std::vector<Database>();
    // One that could not be loaded leaves the old one where it is.
    if (next.pool->IsLoaded() && IsWhole(*next.pool, had)) {
        std::swap(next, m_active);
        m_rejected.reset();
    } else {
        Reject(next.set);
    }
    next.pool->Stop();
}

void DatabasesInUse::GoBackWhereTheNewOneFailed() {
    if (!m_former || m_active.pool->IsIdle() || !m_active.pool->WaitFor(kNow)) {
        return;
    }
    const Former former = *std::exchange(m_former, std::nullopt);
    if (m_active.pool->IsLoaded() && IsWhole(*m_active.pool, former.databases)) {
        return;
    }
    Reject(m_active.set);
    m_active.pool->Stop();
    m_active = Load(former.set, former.databases, former.settings, BeginningOf(former.settings));
}

void DatabasesInUse::LookForChanges(const PoolSettings& settings) {
    const std::string set = definitions::CurrentSet(m_engineDirectory);
    if (m_active.pool->WaitFor(kNow) && !m_active.pool->IsLoaded() && m_rejected != m_active.set) {
        Reject(m_active.set);
    }
    const Loading& latest = m_next.pool != nullptr ? m_next : m_active;
    const bool isLatest = latest.set == set && latest.settings == settings;
    const bool isToRetry = m_rejected == set && Clock::now() - m_rejectedAt >= m_retryInterval;
    if (isLatest ? m_next.pool != nullptr || !isToRetry : m_rejected == set && !isToRetry) {
        return;
    }
    // By the name of the set: through the link one listing could be of two sets.
    definitions::DatabaseList list = definitions::FindDatabases(m_engineDirectory, set);
    for (const std::string& path : list.damaged) {
        LogLeftOut(path, "it is not a database");
    }
    if (!list.HasSignatures()) {
        LogLine("no usable database in the new definitions");
        Reject(set);
        return;
    }
    LoadNext(set, std::move(list.usable), settings);
}

void DatabasesInUse::LoadNext(const std::string& set, std::vector<Database> databases,
                              const PoolSettings& settings) {
    if (m_next.pool != nullptr) {
        std::exchange(m_next, {}).pool->Stop();
    }
    if (m_active.pool->IsIdle()) {
        LoadInPlace(set, std::move(databases), settings);
    } else if (m_active.pool->IsLoaded() && m_available() < m_active.pool->MemoryTaken()) {
        LogLine("the new definitions are loaded in place of those in use, for want of memory");
        LoadInPlace(set, std::move(databases), settings);
    } else {
        m_next = Load(set, std::move(databases), settings, ScanPool::Beginning::kAtOnce);
    }
}

void DatabasesInUse::LoadInPlace(const std::string& set, std::vector<Database> databases,
                                 const PoolSettings& settings) {
    // What never loaded is no better than what came before it.
    if (!m_former || !m_active.pool->IsIdle()) {
        m_former = Former{m_active.set, m_active.settings, m_active.pool->Databases()};
    }
    m_active.pool->Stop();
    m_active = Load(set, std::move(databases), settings, BeginningOf(settings));
}

void DatabasesInUse::BeginRun(const PoolSettings& settings) {
    const std::lock_guard lock(m_mutex);
    if (m_stopping) {
        return;
    }
    m_active.pool->BeginRun();
    TakeLoaded();
    GoBackWhereTheNewOneFailed();
    LookForChanges(settings);
}

std::shared_ptr<ScanPool> DatabasesInUse::ForScan() {
    const std::lock_guard lock(m_mutex);
    if (!m_stopping) {
        GoBackWhereTheNewOneFailed();
        // A scan that has no databases at all has none to keep.
        if (m_active.pool->WaitFor(kNow) && !m_active.pool->IsLoaded()) {
            TakeLoaded();
        }
    }
    return m_active.pool;
}

std::vector<Database> DatabasesInUse::Newest() {
    const std::string set = definitions::CurrentSet(m_engineDirectory);
    const std::lock_guard lock(m_mutex);
    std::vector<Database> newest;
    if (m_next.pool != nullptr && m_next.set == set) {
        newest = m_next.pool->Databases();
    } else if (m_active.set != set && m_rejected != set) {
        if (m_looked != set) {
            definitions::DatabaseList list = definitions::FindDatabases(m_engineDirectory, set);
            m_found = list.HasSignatures() ? std::move(list.usable) : std::vector<Database>();
            m_looked = set;
        }
        newest = m_found;
    }
    return newest.empty() ? m_active.pool->Databases() : newest;
}

void DatabasesInUse::Cancel() {
    const std::lock_guard lock(m_mutex);
    m_stopping = true;
    m_active.pool->Cancel();
    if (m_next.pool != nullptr) {
        m_next.pool->Cancel();
    }
}

void DatabasesInUse::Stop() {
    Cancel();
    const std::lock_guard lock(m_mutex);
    if (m_next.pool != nullptr) {
        m_next.pool->Stop();
    }
    m_active.pool->Stop();
}

std::uint64_t DatabasesInUse::ReadAvailableMemory() {
    constexpr std::uint64_t kKiB = 1024;
    std::ifstream memory("/proc/meminfo");
    for (std::string line; std::getline(memory, line);) {
        constexpr std::string_view kKey = "MemAvailable:";
        if (line.starts_with(kKey)) {
            return std::stoull(line.substr(kKey.size())) * kKiB;
        }
    }
    return std::numeric_limits<std::uint64_t>::max();
}

}  // namespace scanapi
