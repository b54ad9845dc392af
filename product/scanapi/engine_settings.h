#pragma once

#include <cstdint>
#include <string>

#include "product/scanapi/cache_settings.h"
#include "product/scanapi/clamd_settings.h"
#include "product/vault/settings.h"

namespace scanapi {

inline constexpr char kSettingsFileName[] = "scanapi.conf";

/// The most workers that can be asked for.
inline constexpr std::uint32_t kMostWorkers = 64;

/// How files are scanned.
struct ScanningSettings {
    std::uint32_t workers = 1;       ///< processes that scan, 1 to kMostWorkers
    std::uint32_t memoryMiB = 2048;  ///< what one of them may take beside the databases

    bool operator==(const ScanningSettings&) const = default;
};

/// What an administrator has set for the engine.
struct EngineSettings {
    vault::Settings vault;
    CacheSettings cache;
    ScanningSettings scanning;
    ClamdSettings clamd;
};

/// The processor cores that this process may use, 1 to kMostWorkers: as many workers there are
/// unless set otherwise. Any thread.
std::uint32_t UsableCores();

/// Reads kSettingsFileName in `engineDirectory`, which ends in "/". What is not set there has its
/// default, and so has what is set to something that cannot be: a line in the common log says so.
/// A file that is not root's, or that others may write to, is not believed either. Any thread.
EngineSettings ReadEngineSettings(const std::string& engineDirectory);

}  // namespace scanapi
