#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "common/file_descriptor.h"
#include "product/scanapi/database_loader.h"

namespace scanapi {

/// Which databases scans use. When "defs/current" comes to lead to another set, that is loaded in
/// the background: a scan under way keeps what it has, the first one that begins after the loading
/// uses the new set, and nobody waits for it. Any thread.
class DatabasesInUse {
public:
    /// Of the engine in `engineDirectory`; `first` was found there, with the set `set` in use.
    /// `scratch` as for the loader. A set that could not be loaded whole is tried again after
    /// `retryInterval`, when memory may be free again.
    DatabasesInUse(std::string engineDirectory, std::vector<Database> first, std::string set,
                   std::string scratch,
                   std::chrono::milliseconds retryInterval = std::chrono::minutes(1));
    ~DatabasesInUse();
    DatabasesInUse(const DatabasesInUse&) = delete;
    DatabasesInUse& operator=(const DatabasesInUse&) = delete;

    /// The next call of ForScan belongs to another scan.
    void BeginScan();

    /// What the scan under way uses.
    std::shared_ptr<DatabaseLoader> ForScan();

    /// The databases of the set that "defs/current" leads to now, also while they are loaded.
    std::vector<Database> Newest();

    /// Makes every loading end soon and every wait return.
    void Cancel();

    /// Cancels, and lets go of all databases; the last call.
    void Stop();

private:
    void Watch() noexcept;
    void OpenWatch();
    void LookForChanges();
    void StopRetired();
    void Retire(std::shared_ptr<DatabaseLoader> loader);
    void TakeLoaded();
    void Wake() const;

    const std::string m_engineDirectory;
    const std::string m_scratch;
    const std::chrono::milliseconds m_retryInterval;

    std::mutex m_lookMutex;  ///< held while looking, which reads from the disk; guards m_seen
    std::string m_seen;      ///< where the link led when it was last looked at

    std::mutex m_mutex;  ///< guards what follows
    std::shared_ptr<DatabaseLoader> m_active;
    std::shared_ptr<DatabaseLoader> m_next;  ///< null when nothing newer is loaded
    std::vector<std::shared_ptr<DatabaseLoader>> m_retired;
    bool m_scanBegins = true;

    std::atomic<bool> m_isToRetry = false;
    std::atomic<bool> m_stopping = false;
    common::FileDescriptor m_wake;
    common::FileDescriptor m_changes;
    std::thread m_watcher;
};

}  // namespace scanapi
