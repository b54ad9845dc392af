#pragma once

#include "product/scanapi/verdict_cache.h"
#include "product/scanapi/verdict_format.h"

// Files that were never there, for the tests of the verdict cache.

inline constexpr std::int64_t kNoon = 1'800'000'000;  ///< when scans begin, in seconds since 1970

inline std::string BasisOf(char digit) {
    return std::string(64, digit);
}

/// The file of a number, unchanged for a minute at kNoon.
inline scanapi::FileIdentity FileOf(std::uint64_t number) {
    scanapi::FileIdentity file;
    for (std::size_t i = 0; i < file.fileSystem.uuid.size(); ++i) {
        file.fileSystem.uuid[i] = static_cast<std::byte>(0xA0 + i);
    }
    file.inode = number;
    file.size = 5;
    file.modified = {kNoon - 3600, 7};
    file.changed = {kNoon - 60, 9};
    return file;
}

/// A scan of it that began at kNoon.
inline scanapi::ScanSpan ScanOf(const scanapi::FileIdentity& file, bool isCovered = false) {
    return {file, file, {kNoon, 9}, isCovered};
}

/// The records of the files of these numbers.
inline std::string RecordsOf(std::uint64_t first, std::uint64_t last) {
    std::string records;
    for (std::uint64_t number = first; number <= last; ++number) {
        records += scanapi::EncodeRecord({{}, FileOf(number), "a", {}});
    }
    return records;
}

/// The clock of the caches under test.
inline scanapi::FileTime g_clock;
inline scanapi::FileTime TestClock() {
    return g_clock;
}
