#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "abi/scanapi.h"
#include "product/scanapi/conversation.h"
#include "product/scanapi/databases_in_use.h"
#include "product/scanapi/engine_settings.h"
#include "product/scanapi/scan_worker.h"
#include "product/scanapi/scratch_directory.h"

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

private:
    Engine(const tagSCANAPI_OPTIONS& options, std::vector<Database> databases, std::string set,
           std::unique_ptr<ScratchDirectory> scratch);

    scanning::ScanOutcome Scan(const std::shared_ptr<TargetFile>& file,
                               const scanning::ScanProfile& profile, Conversation& conversation);
    scanning::ScanOutcome ScanOnWorker(const std::shared_ptr<ScanJob>& job,
                                       Conversation& conversation);
    Disposal DisposalOf(const std::string& virusName);
    bool Dispatch(const std::shared_ptr<ScanJob>& job, Conversation& conversation);

    const std::string m_engineDirectory;
    std::unique_ptr<ScratchDirectory> m_scratch;
    const std::unique_ptr<DatabasesInUse> m_databases;

    std::mutex m_scanMutex;  ///< held for the scan of a file
    FileBytes m_buffer;
    std::vector<std::shared_ptr<ScanWorker>> m_workers;

    std::mutex m_stateMutex;  ///< guards what follows
    scanning::ScanProfile m_profile;
    EngineSettings m_settings;
    PFNZQCALLBACK m_callback = nullptr;
    std::unordered_map<std::uint64_t, std::shared_ptr<TargetFile>> m_files;
    std::uint64_t m_lastHandle = 0;

    std::atomic<bool> m_closing = false;
    std::atomic<bool> m_failureLogged = false;
};

}  // namespace scanapi
