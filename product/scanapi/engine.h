#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "abi/scanapi.h"
#include "product/scanapi/conversation.h"
#include "product/scanapi/databases_in_use.h"
#include "product/scanapi/engine_log.h"
#include "product/scanapi/engine_settings.h"
#include "product/scanapi/files_ahead.h"
#include "product/scanapi/pending_scan.h"

namespace scanapi {

/// The engine between ZqInitScan and ZqDeinitScan. Its functions may be called from any thread; one
/// file is scanned at a time, and a callback may call all but ScanFile and Close.
class Engine {
public:
    /// Looks for databases and begins to load them. Null when there is none that could be used.
    static std::shared_ptr<Engine> Start(const tagSCANAPI_OPTIONS& options);

    /// Gives up loading and stops a scan under way; opening and scanning fail from here on.
    void Close();

    [[nodiscard]] tagZQVERINFO Version() const;
    void SetCallback(PFNZQCALLBACK callback);
    void SetOptions(const tagSCANAPI_OPTIONS& options);

    /// Waits for the databases, so that the first file is opened once it can be scanned; when they
    /// take long, ScanFile waits for the rest. Anything but kOpenFailed and kOpenRefused is
    /// success.
    int OpenFile(const char* name, std::uint64_t& handle);
    bool CloseFile(std::uint64_t handle);

    /// True when the file was scanned whole, or passed over as the options ask.
    bool ScanFile(std::uint64_t handle, void* context);
    void ResetRunFlags();

    /// As PFNFILESAHEAD says. What is told is scanned with the options and the databases of the
    /// file that was scanned last.
    void TellAhead(int folder, const char* path, std::span<const char* const> names);

private:
    Engine(const tagSCANAPI_OPTIONS& options, std::vector<Database> databases,
           const std::string& set);

    scanning::ScanOutcome Scan(const std::shared_ptr<TargetFile>& file,
                               const scanning::ScanProfile& profile, Conversation& conversation);
    scanning::ScanOutcome Await(PendingScan& scan, Conversation& conversation);
    std::shared_ptr<ScanPool> WaitForDatabases(Conversation& conversation, bool& isStopped);
    Disposal DisposalOf(const std::string& virusName);
    [[nodiscard]] PoolSettings SettingsOfPools(const EngineSettings& settings) const;

    const std::string m_engineDirectory;
    const std::string m_temporaryDirectory;
    const std::string m_host;
    const std::string m_cacheFolder;
    EngineSettings m_settings;  ///< guarded by m_stateMutex
    const std::unique_ptr<DatabasesInUse> m_databases;
    UnreadLog m_unread;
    FilesAhead m_ahead;

    std::mutex m_scanMutex;  ///< held for the scan of a file; guards what follows
    /// Kept so that it is not the pool that closes it, for which some file systems take their time.
    std::shared_ptr<TargetFile> m_brokenOff;

    std::mutex m_stateMutex;  ///< guards what follows
    scanning::ScanProfile m_profile;
    PFNZQCALLBACK m_callback = nullptr;
    std::unordered_map<std::uint64_t, std::shared_ptr<TargetFile>> m_files;
    std::uint64_t m_lastHandle = 0;

    std::atomic<bool> m_closing = false;
    std::atomic<bool> m_failureLogged = false;
};

}  // namespace scanapi
