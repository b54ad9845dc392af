#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <sys/types.h>
#include <vector>

// One item of the vault is one file. Numbers are little-endian:
//
//     0  16  "CORVANE VAULT\r\n\x1A"
//    16   4  version of the format, 1
//    20   4  size of the records
//    24   8  size of the deflated contents
//    32   8  size of the contents
//    40   8  key of the scrambling
//    48  64  SHA-256 of the contents, in hexadecimal
//   112  64  SHA-256 of the 112 bytes before it and of the records as they are read, the same
//   176      the records, then the contents, deflated (zlib); both scrambled as one stream
//
// A record is a kind (2 bytes), two zero bytes, a length (4 bytes) and so many bytes. Kinds that a
// reader does not know it passes over; each it knows is there once, attributes as often as needed.

namespace vault {

inline constexpr char kItemMagic[] = "CORVANE VAULT\r\n\x1A";
inline constexpr std::size_t kMagicSize = sizeof(kItemMagic) - 1;
inline constexpr std::uint32_t kItemVersion = 1;
inline constexpr std::size_t kDigestSize = 64;
inline constexpr std::size_t kDigestedHeadSize = 112;
inline constexpr std::size_t kHeadSize = kDigestedHeadSize + kDigestSize;
inline constexpr std::size_t kRecordHeadSize = 8;
static_assert(kMagicSize == 16);

// What a reader accepts at most, in bytes; a file with more is not kept.
inline constexpr std::size_t kMaxRecords = std::size_t{4} << 20U;
inline constexpr std::size_t kMaxPath = 4096;
inline constexpr std::size_t kMaxName = 1024;  ///< of a virus, of a database
inline constexpr std::size_t kMaxAttributeName = 255;
inline constexpr std::size_t kMaxAttributeValue = 65536;

enum class RecordKind : std::uint16_t {
    kPath = 1,
    kOwner = 2,     ///< 4 bytes
    kGroup = 3,     ///< 4 bytes
    kMode = 4,      ///< 4 bytes, at most 07777
    kAccessed = 5,  ///< 8 bytes seconds since 1970, 4 bytes nanoseconds
    kModified = 6,  ///< the same
    kKept = 7,      ///< 8 bytes seconds since 1970
    kVirus = 8,
    kDatabase = 9,
    kAttribute = 10,  ///< 2 bytes length of the name, the name, the value
};

struct ExtendedAttribute {
    std::string name;
    std::string value;
};

/// What is known of a file that is kept.
struct ItemFacts {
    std::string path;  ///< bytes, none of them zero
    uid_t owner = 0;
    gid_t group = 0;
    mode_t mode = 0;  ///< permission bits with setuid, setgid and sticky
    timespec accessed{};
    timespec modified{};
    std::vector<ExtendedAttribute> attributes;
    std::string virusName;
    std::string database;    ///< version of the virus database
    std::int64_t kept = 0;   ///< when, in seconds since 1970
    std::uint64_t size = 0;  ///< of the contents, in bytes
    std::string sha256;      ///< of the contents, 64 digits in lower case
};

}  // namespace vault
