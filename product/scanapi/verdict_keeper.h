#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "product/definitions/engine_databases.h"
#include "product/scanapi/kept_file_systems.h"
#include "product/scanapi/pending_scan.h"
#include "product/scanapi/pool_settings.h"
#include "product/scanapi/verdict_cache.h"

namespace scanapi {

/// The verdicts that one pool remembers: those of scans with the databases that it has loaded. Any
/// thread, but for loading, which is one thread's.
class VerdictKeeper {
public:
    explicit VerdictKeeper(const PoolSettings& settings);

    /// The host is about to load `databases`.
    void BeforeLoading(const std::vector<definitions::Database>& databases);

    /// Of these it has loaded `databases`. From here on verdicts are found and remembered, unless
    /// what they stand on has changed meanwhile.
    void AfterLoading(const std::vector<definitions::Database>& databases);

    /// Finishes a scan that is not to be carried out, as the one before it of the same file was
    /// finished. Otherwise false; what comes of the scan is then remembered, if it may be.
    bool Answer(PendingScan& scan);

    /// Writes what is not written yet. Nothing is found or remembered afterwards.
    void Close();

private:
    [[nodiscard]] std::vector<std::string> FilesOf(
        const std::vector<definitions::Database>& databases) const;
    std::shared_ptr<VerdictCache> Cache();
    void Replace(std::shared_ptr<VerdictCache> cache);

    const CacheSettings m_settings;
    const std::string m_folder;
    const std::string m_host;
    KeptFileSystems m_fileSystems;
    std::vector<std::string> m_files;     ///< what is being loaded
    std::optional<std::string> m_before;  ///< what verdicts with them would stand on

    std::mutex m_mutex;  ///< guards what follows
    std::shared_ptr<VerdictCache> m_cache;
};

}  // namespace scanapi
