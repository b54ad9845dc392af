#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "product/signed_index/refusal.h"

// The index of a private mirror, "index.json":
//
//   {"format": 1, "serial": 7, "made": "2026-11-22T03:00:00Z", "expires": "2026-12-22T03:00:00Z",
//    "files": [{"name": "daily.cvd", "size": 512, "sha256": "<64 digits>", "version": 27000}]}
//
// Fields of other names are passed over, so that a newer maker of mirrors may add some; what an
// older reader must not pass over gets another "format". Any thread may call.

namespace signed_index {

inline constexpr char kIndexName[] = "index.json";
inline constexpr char kSignatureName[] = "index.json.minisig";

inline constexpr std::size_t kMaxIndexSize = std::size_t{1} << 20U;
inline constexpr std::size_t kMaxFiles = 1000;
inline constexpr std::size_t kMaxFileName = 64;
inline constexpr std::uint64_t kMaxFileSize = std::uint64_t{1} << 31U;   ///< bytes
inline constexpr std::uint64_t kMaxTotalSize = std::uint64_t{1} << 32U;  ///< bytes

struct IndexedFile {
    std::string name;
    std::uint64_t size = 0;     ///< bytes
    std::string sha256;         ///< 64 digits in lower case
    std::uint32_t version = 0;  ///< of the database; 0 where it has none
};

struct Index {
    std::uint64_t serial = 0;  ///< counts the states of a mirror
    std::time_t made = 0;      ///< seconds since 1970
    std::time_t expires = 0;   ///< seconds since 1970, later than `made`
    std::vector<IndexedFile> files;
};

/// Reads an index and checks every field of it. `index` is only to be used after Refusal::kNone.
/// Whether it is genuine is not looked at: see verified_index.h.
Refusal ParseIndex(std::string_view text, Index& index);

/// The index as text, ending with a newline. What ParseIndex would refuse is written all the same.
std::string FormatIndex(const Index& index);

/// kNone for the name of a database: 1 to 64 characters of A-Z, a-z, 0-9, ".", "_" and "-", not
/// beginning with ".", with an ending that the engine loads. kBadFileName or kNotADatabaseName
/// else.
Refusal CheckFileName(std::string_view name);

/// Whether `text` is 64 hexadecimal digits in lower case.
bool IsDigest(std::string_view text);

/// Reads "2026-11-22T03:00:00Z", years 1970 to 9999. False, with `time` as it was, for all else.
bool ParseTime(std::string_view text, std::time_t& time);

/// The reverse, for years 1970 to 9999.
std::string FormatUtcTime(std::time_t time);

}  // namespace signed_index
