#include "product/scanapi/verdict_keeper.h"

#include <utility>

#include "product/scanapi/scan_recorder.h"
#include "product/scanapi/verdict_basis.h"

namespace scanapi {

VerdictKeeper::VerdictKeeper(const PoolSettings& settings)
    : m_settings(settings.cache), m_folder(settings.cacheFolder), m_host(settings.host) {}

std::vector<std::string> VerdictKeeper::FilesOf(
    const std::vector<definitions::Database>& databases) const {
    std::vector<std::string> files{m_host};
    for (const definitions::Database& each : databases) {
        files.push_back(each.path);
    }
    return files;
}

void VerdictKeeper::BeforeLoading(const std::vector<definitions::Database>& databases) {
    m_files = FilesOf(databases);
    m_before = VerdictBasis(m_files);
}

void VerdictKeeper::AfterLoading(const std::vector<definitions::Database>& databases) {
    if (!m_settings.isOn || m_folder.empty()) {
        return;
    }
    // Those that were loaded, and after that a look at all: what changes later is seen by it, too.
    const auto basis = VerdictBasis(FilesOf(databases));
    if (!m_before || !basis || VerdictBasis(m_files) != m_before) {
        Replace(nullptr);
        return;
    }
    const auto cache = Cache();
    if (cache == nullptr || cache->Basis() != *basis) {
        Replace(nullptr);
        Replace(std::make_shared<VerdictCache>(m_folder, m_settings, *basis));
    }
}

bool VerdictKeeper::Answer(PendingScan& scan) {
    const auto cache = Cache();
    if (cache == nullptr) {
        return false;
    }
    const TargetFile& file = scan.File();
    const auto fileSystem = m_fileSystems.Of(file.Descriptor(), file.Opened().st_dev);
    if (!fileSystem) {
        return false;
    }
    auto known =
        cache->Find(IdentityOf(*fileSystem, file.Opened()), file.BaseName(), scan.Profile());
    if (!known) {
        scan.Record(std::make_unique<ScanRecorder>(cache, *fileSystem));
        return false;
    }
    for (std::string& member : known->members) {
        (void)scan.Tell(std::move(member));
    }
    scanning::ScanOutcome outcome;
    outcome.verdict = known->verdict;
    scan.Finish(std::move(outcome));
    return true;
}

void VerdictKeeper::Close() {
    Replace(nullptr);
}

std::shared_ptr<VerdictCache> VerdictKeeper::Cache() {
    const std::lock_guard lock(m_mutex);
    return m_cache;
}

void VerdictKeeper::Replace(std::shared_ptr<VerdictCache> cache) {
    {
        const std::lock_guard lock(m_mutex);
        m_cache.swap(cache);
    }
    // A scan that still looks on keeps the object, but adds nothing to it any more.
    if (cache != nullptr) {
        cache->Close();
    }
}

}  // namespace scanapi
