#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "product/scanapi/pool_settings.h"
#include "product/scanapi/scan_pool.h"

namespace scanapi {

/// Which databases scans use. When "defs/current" leads to another set as a run begins, that is
/// loaded beside the one in use; the run keeps what it has, and the first one that begins after
/// the loading uses the new set. Only where there is no memory for two does a run wait. Any thread.
class DatabasesInUse {
public:
    /// The memory that can be had without taking it from others, in bytes.
    using AvailableMemory = std::function<std::uint64_t()>;

    /// Of the engine in `engineDirectory`; `first` was found there, with the set `set` in use, and
    /// begins to load. A set that could not be loaded whole is tried again after `retryInterval`,
    /// when memory may be free again.
    DatabasesInUse(std::string engineDirectory, std::vector<Database> first, const std::string& set,
                   const PoolSettings& settings,
                   std::chrono::milliseconds retryInterval = std::chrono::minutes(1),
                   AvailableMemory available = ReadAvailableMemory);
    ~DatabasesInUse();
    DatabasesInUse(const DatabasesInUse&) = delete;
    DatabasesInUse& operator=(const DatabasesInUse&) = delete;

    /// A run begins: looks for another set, which it begins to load with these settings.
    void BeginRun(const PoolSettings& settings);

    /// What the run uses.
    std::shared_ptr<ScanPool> ForScan();

    /// The databases of the set that "defs/current" leads to now, also before they are loaded.
    std::vector<Database> Newest();

    /// Makes every loading end soon and every wait return.
    void Cancel();

    /// Cancels, and lets go of all databases; the last call.
    void Stop();

    /// From /proc/meminfo; as much as there can be when that does not tell.
    static std::uint64_t ReadAvailableMemory();

private:
    using Clock = std::chrono::steady_clock;

    /// A set and the pool that scans with it.
    struct Loading {
        std::string set;
        PoolSettings settings;
        std::shared_ptr<ScanPool> pool;
    };

    /// What was let go before its successor had loaded.
    struct Former {
        std::string set;
        PoolSettings settings;
        std::vector<Database> databases;
    };

    static Loading Load(const std::string& set, std::vector<Database> databases,
                        const PoolSettings& settings, ScanPool::Beginning beginning);
    static ScanPool::Beginning BeginningOf(const PoolSettings& settings);
    void TakeLoaded();
    void LoadInPlace(const std::string& set, std::vector<Database> databases,
                     const PoolSettings& settings);
    void GoBackWhereTheNewOneFailed();
    void Reject(const std::string& set);
    void LookForChanges(const PoolSettings& settings);
    void LoadNext(const std::string& set, std::vector<Database> databases,
                  const PoolSettings& settings);

    const std::string m_engineDirectory;
    const std::chrono::milliseconds m_retryInterval;
    const AvailableMemory m_available;

    std::mutex m_mutex;  ///< guards what follows
    Loading m_active;
    Loading m_next;  ///< without a pool when nothing newer is loaded
    std::optional<Former> m_former;
    std::optional<std::string> m_looked;    ///< the set whose databases were last looked at
    std::vector<Database> m_found;          ///< in there
    std::optional<std::string> m_rejected;  ///< a set that could not be loaded whole
    Clock::time_point m_rejectedAt{};
    bool m_stopping = false;
};

}  // namespace scanapi
