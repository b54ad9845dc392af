#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "product/scanapi/cached_verdict.h"

// The bytes of the verdict cache. Numbers are little-endian, digests 64 hexadecimal digits.
//
//   file     16  "CORVANE VERDICTS"
//             4  kVerdictVersion
//             4  zero
//             8  how much of the file counts, this head included; what follows is of somebody who
//                was killed while adding to it
//            64  digest of what is before
//            ..  batches
//   batch     4  "VBAT"
//             4  size of its records
//             8  when it was written, in seconds since 1970
//            64  the basis of its verdicts (verdict_basis.h)
//            64  digest of what is before, and of the records
//            ..  records
//   record    2  its size
//             1  verdict: 0 clean, 1 passed over
//             1  bits of the profile: archives, packed, unknown types, unwanted
//            24  file system: UUID, part
//             8  inode
//             8  size
//            12  times of contents: seconds, nanoseconds
//            12  of state
//          1+..  base name
//            ..  names of members, each with a zero after it
//
// What reads this trusts nothing, and believes a file whole or not at all. Any thread.

namespace scanapi {

inline constexpr std::uint32_t kVerdictVersion = 1;
inline constexpr std::size_t kVerdictHeadSize = 96;
inline constexpr std::size_t kBatchHeadSize = 144;
inline constexpr std::size_t kMaxBatchRecords = std::size_t{1} << 20U;  ///< bytes in a batch
inline constexpr std::size_t kBasisSize = 64;
inline constexpr std::size_t kMaxBaseName = 255;
/// Files with more names in them than this many bytes are not remembered.
inline constexpr std::size_t kMaxMemberBytes = 4096;

/// The record as bytes; empty when it cannot be kept.
std::string EncodeRecord(const VerdictRecord& record);

/// The part of a record's bytes by which it is looked for: all but its size, verdict and members.
/// `record` is well-formed.
std::string_view KeyOf(std::string_view record);

/// The same for a record that is looked for, in `buffer`; empty for a name that cannot be kept.
using KeyBuffer = std::array<char, 66 + kMaxBaseName>;
std::string_view EncodeKey(const scanning::ScanProfile& profile, const FileIdentity& file,
                           std::string_view baseName, KeyBuffer& buffer);

/// The verdict of a well-formed record.
CachedVerdict DecodeVerdict(std::string_view record);

/// Takes the first record from `records`; none at their end and where there is no well-formed one,
/// with `records` not empty then.
std::optional<std::string_view> TakeRecord(std::string_view& records);

std::string EncodeBatch(std::int64_t written, std::string_view basis, std::string_view records);
std::string EncodeHead(std::uint64_t counting);

/// How much of the file counts; none for what is no head of this version.
std::optional<std::uint64_t> DecodeHead(std::string_view head);

/// A batch in the bytes of a file.
struct Batch {
    std::string_view whole;
    std::string_view records;
    std::int64_t written = 0;
};

/// The batches on `basis` in `batches`, what follows the head and counts; those on another one are
/// passed over unread. None when anything is damaged or is later than `now`.
std::optional<std::vector<Batch>> DecodeBatches(std::string_view batches, std::string_view basis,
                                                std::int64_t now);

}  // namespace scanapi
