#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <tuple>
#include <vector>

#include "product/scanning/library_scan.h"

// What is remembered of a file that was found clean, and by what it is known again.

namespace scanapi {

/// A file system, the same one after a restart of the machine.
struct FileSystemId {
    std::array<std::byte, 16> uuid{};
    std::uint64_t part = 0;  ///< of those that have several trees of inodes, which one

    bool operator==(const FileSystemId&) const = default;
};

struct FileTime {
    std::int64_t seconds = 0;  ///< since 1970
    std::uint32_t nanoseconds = 0;

    bool operator==(const FileTime&) const = default;
    bool operator<(const FileTime& other) const {
        return std::tie(seconds, nanoseconds) < std::tie(other.seconds, other.nanoseconds);
    }
    bool operator>(const FileTime& other) const { return other < *this; }
    bool operator<=(const FileTime& other) const { return !(other < *this); }
};

/// By what a file is known again, unchanged.
struct FileIdentity {
    FileSystemId fileSystem;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;  ///< bytes
    FileTime modified;       ///< of its contents
    FileTime changed;        ///< of its state: what no program can set

    bool operator==(const FileIdentity&) const = default;
};

inline FileIdentity IdentityOf(const FileSystemId& fileSystem, const struct stat& status) {
    const auto time = [](const timespec& from) {
        return FileTime{from.tv_sec, static_cast<std::uint32_t>(from.tv_nsec)};
    };
    return {fileSystem, status.st_ino, static_cast<std::uint64_t>(status.st_size),
            time(status.st_mtim), time(status.st_ctim)};
}

/// What the program is told of a file again that was scanned before: the same as then.
struct CachedVerdict {
    scanning::Verdict verdict = scanning::Verdict::Clean;  ///< Clean or PassedOver
    std::vector<std::string> members;                      ///< as they were told of, in order

    bool operator==(const CachedVerdict&) const = default;
};

/// One file as it stands in the cache.
struct VerdictRecord {
    scanning::ScanProfile profile;
    FileIdentity file;
    std::string_view baseName;  ///< some signatures look at it, and an inode may have several
    CachedVerdict verdict;
};

}  // namespace scanapi
