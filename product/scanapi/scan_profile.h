#pragma once

#include <clamav.h>

#include "abi/scanapi.h"

namespace scanapi {

/// What the program's options record means for the scan of one file.
struct ScanProfile {
    cl_scan_options library{};      ///< handed to libclamav
    bool readUnknownTypes = false;  ///< "dumb scan": files of no known type are read raw
    bool reportUnwanted = false;    ///< adware and other potentially unwanted programs count
};

ScanProfile ProfileFromOptions(const tagSCANAPI_OPTIONS& options);

// The bounds of one scan. What lies beyond them is reported as unreadable, never as clean.
inline constexpr long long kMaxFileSize = 100LL << 20;
inline constexpr long long kMaxScanSize = 400LL << 20;
inline constexpr long long kMaxNesting = 17;
inline constexpr long long kMaxMembers = 10000;
inline constexpr long long kMaxScanMilliseconds = 120000;

}  // namespace scanapi
