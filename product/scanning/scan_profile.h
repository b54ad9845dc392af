#pragma once

#include <clamav.h>
#include <cstddef>

#include "abi/scanapi.h"

namespace scanning {

/// What the program's options record means for the scan of one file. Two records with the same
/// profile give the same verdicts.
struct ScanProfile {
    bool archives = false;      ///< members of archives are read
    bool packed = false;        ///< packed programs are unpacked
    bool unknownTypes = false;  ///< "dumb scan": files of no known type are read raw
    bool unwanted = false;      ///< adware and other potentially unwanted programs count

    bool operator==(const ScanProfile&) const = default;
};

ScanProfile ProfileFromOptions(const tagSCANAPI_OPTIONS& options);

/// What is handed to libclamav for a profile.
cl_scan_options LibraryOptions(const ScanProfile& profile);

// The bounds of one scan. What lies beyond them is reported as unreadable, never as clean.
inline constexpr long long kMaxFileSize = 100LL << 20;
inline constexpr long long kMaxScanSize = 400LL << 20;
inline constexpr long long kMaxNesting = 17;
inline constexpr long long kMaxMembers = 10000;
inline constexpr long long kMaxScanMilliseconds = 120000;

/// Files of at most this size are clean to the library unread: nothing known is as small as that.
inline constexpr std::size_t kNeverMatched = 5;

}  // namespace scanning
