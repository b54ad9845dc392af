#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "product/scanapi/cache_settings.h"
#include "product/scanapi/clamd_settings.h"
#include "product/scanning/scan_profile.h"

namespace scanapi {

/// How a pool scans.
struct PoolSettings {
    std::string host;             ///< path of the scan host's program
    std::string scratchBase;      ///< where workers unpack files, as in the program's options
    std::uint32_t workers = 1;    ///< how many
    std::uint32_t memoryMiB = 0;  ///< what one may take beside the databases; 0: no limit
    std::uint32_t switches = 0;   ///< parts of the confinement that tests turn off
    /// The processor's time that the scan of one file may take.
    std::chrono::milliseconds processorTime{scanning::kMaxScanMilliseconds};

    /// How long a worker may compute nothing at all while it has something to scan. On the busiest
    /// machine it gets some time of a processor; one that gets none waits for something that will
    /// not come.
    std::chrono::milliseconds standstill{std::chrono::minutes(1)};

    CacheSettings cache;
    std::string cacheFolder;  ///< where verdicts are remembered; empty: nowhere
    ClamdSettings clamd;      ///< one that plain files are shown to first

    bool operator==(const PoolSettings&) const = default;
};

}  // namespace scanapi
