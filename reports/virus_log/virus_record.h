#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "abi/system_time.h"

// The bytes of the virus log's files. Integers and UTF-16 units are little-endian and stand in the
// files without gaps.

static_assert(std::endian::native == std::endian::little);

#pragma pack(push, 1)
/// "VirMain.dat": which record file receives new records.
struct tagVIRMAIN {
    std::uint32_t isResetting;  ///< 1 while a reset is in progress
    char fileName[100];         ///< of the record file, zero-padded
};

/// The start of a record file.
struct tagVIRCOUNTER {
    std::uint32_t zero;
    std::uint32_t count;        ///< of records
    std::uint32_t tableOffset;  ///< of the table of offsets in a reader's copy, else 0
};

/// Where the log was written; follows the counter.
struct tagVIRIDENTITY {
    std::int32_t majorVersion;  ///< of the virus database
    std::int32_t minorVersion;
    std::uint8_t zero[32];
    char16_t computerName[18];  ///< zero-padded
};

/// The head of a record file.
struct tagVIRHEAD {
    tagVIRCOUNTER counter;
    tagVIRIDENTITY identity;
};

/// The fixed part of a record; the file path and the domain name follow it, without terminators.
struct tagVIRRECORD {
    std::uint32_t pathLength;    ///< in bytes
    std::uint32_t domainLength;  ///< in bytes
    std::uint32_t component;     ///< that logged the record
    char virusName[50];          ///< zero-padded
    char16_t action[50];         ///< zero-padded
    tagSYSTEMTIME time;          ///< local
    char16_t userName[16];       ///< at most 15 units, zero-padded
};
#pragma pack(pop)

static_assert(sizeof(tagVIRMAIN) == 104);
static_assert(offsetof(tagVIRMAIN, fileName) == 4);
static_assert(sizeof(tagVIRCOUNTER) == 12);
static_assert(offsetof(tagVIRCOUNTER, count) == 4);
static_assert(offsetof(tagVIRCOUNTER, tableOffset) == 8);
static_assert(sizeof(tagVIRIDENTITY) == 76);
static_assert(offsetof(tagVIRIDENTITY, minorVersion) == 4);
static_assert(offsetof(tagVIRIDENTITY, zero) == 8);
static_assert(offsetof(tagVIRIDENTITY, computerName) == 40);
static_assert(sizeof(tagVIRHEAD) == 88);
static_assert(offsetof(tagVIRHEAD, identity) == 12);
static_assert(sizeof(tagVIRRECORD) == 210);
static_assert(offsetof(tagVIRRECORD, domainLength) == 4);
static_assert(offsetof(tagVIRRECORD, component) == 8);
static_assert(offsetof(tagVIRRECORD, virusName) == 12);
static_assert(offsetof(tagVIRRECORD, action) == 62);
static_assert(offsetof(tagVIRRECORD, time) == 162);
static_assert(offsetof(tagVIRRECORD, userName) == 178);

namespace virus_log {

/// The size of a whole record, in bytes.
constexpr std::uint64_t RecordSize(const tagVIRRECORD& record) {
    return sizeof(tagVIRRECORD) + std::uint64_t{record.pathLength} + record.domainLength;
}

}  // namespace virus_log
