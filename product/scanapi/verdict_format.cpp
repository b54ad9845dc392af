#include "product/scanapi/verdict_format.h"

#include <algorithm>
#include <cstring>

#include "product/scanning/stored_numbers.h"
#include "product/signed_index/sha256.h"

namespace scanapi {

namespace {

using scanning::LittleEndian;
using scanning::Verdict;

constexpr std::string_view kFileMark = "CORVANE VERDICTS";
constexpr std::string_view kBatchMark = "VBAT";
constexpr std::size_t kDigestSize = 64;
constexpr std::uint32_t kNanosecondsOfASecond = 1'000'000'000;

// Where the parts of a record begin.
constexpr std::size_t kVerdictAt = 2;
constexpr std::size_t kKeyAt = 3;
constexpr std::size_t kModifiedNanosecondsAt = 52;
constexpr std::size_t kChangedAt = 56;
constexpr std::size_t kChangedNanosecondsAt = 64;
constexpr std::size_t kNameSizeAt = 68;
constexpr std::size_t kNameAt = 69;

constexpr unsigned int kProfileBits = 15;

void Put(char*& to, std::uint64_t number, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        *to++ = static_cast<char>(number >> (8 * i));
    }
}

std::string Bytes(std::uint64_t number, std::size_t size) {
    std::string bytes(size, '\0');
    char* to = bytes.data();
    Put(to, number, size);
    return bytes;
}

std::string Digest(std::string_view head, std::string_view rest) {
    signed_index::Sha256 digest;
    digest.Add(std::as_bytes(std::span(head)));
    digest.Add(std::as_bytes(std::span(rest)));
    return digest.Finish();
}

unsigned int BitsOf(const scanning::ScanProfile& profile) {
    static_assert(sizeof(scanning::ScanProfile) == 4, "what is new in it belongs in the key");
    return (profile.archives ? 1U : 0U) | (profile.packed ? 2U : 0U) |
           (profile.unknownTypes ? 4U : 0U) | (profile.unwanted ? 8U : 0U);
}

std::size_t SizeOfName(std::string_view record) {
    return LittleEndian(record, kNameSizeAt, 1);
}

std::string_view MembersOf(std::string_view record) {
    return record.substr(kNameAt + SizeOfName(record));
}

bool IsName(std::string_view name) {
    return !name.empty() && name.size() <= kMaxBaseName &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

bool AreMembers(std::string_view members) {
    return members.size() <= kMaxMemberBytes &&
           (members.empty() || (members.front() != '\0' && members.back() == '\0')) &&
           members.find(std::string_view("\0\0", 2)) == std::string_view::npos;
}

bool IsWellFormed(std::string_view record) {
    if (record.size() < kNameAt || record.size() < kNameAt + SizeOfName(record)) {
        return false;
    }
    return LittleEndian(record, kVerdictAt, 1) <= 1 &&
           LittleEndian(record, kKeyAt, 1) <= kProfileBits &&
           LittleEndian(record, kModifiedNanosecondsAt, 4) < kNanosecondsOfASecond &&
           LittleEndian(record, kChangedNanosecondsAt, 4) < kNanosecondsOfASecond &&
           IsName(record.substr(kNameAt, SizeOfName(record))) && AreMembers(MembersOf(record));
}

// What was remembered of a file before it came to be as it is was remembered by a wrong clock.
bool AreBefore(std::string_view records, std::int64_t written) {
    while (const auto record = TakeRecord(records)) {
        if (static_cast<std::int64_t>(LittleEndian(*record, kChangedAt, 8)) > written) {
            return false;
        }
    }
    return records.empty();
}

}  // namespace

std::string_view EncodeKey(const scanning::ScanProfile& profile, const FileIdentity& file,
                           std::string_view baseName, KeyBuffer& buffer) {
    if (!IsName(baseName)) {
        return {};
    }
    char* to = buffer.data();
    Put(to, BitsOf(profile), 1);
    std::memcpy(to, file.fileSystem.uuid.data(), file.fileSystem.uuid.size());
    to += file.fileSystem.uuid.size();
    Put(to, file.fileSystem.part, 8);
    Put(to, file.inode, 8);
    Put(to, file.size, 8);
    Put(to, static_cast<std::uint64_t>(file.modified.seconds), 8);
    Put(to, file.modified.nanoseconds, 4);
    Put(to, static_cast<std::uint64_t>(file.changed.seconds), 8);
    Put(to, file.changed.nanoseconds, 4);
    Put(to, baseName.size(), 1);
    to = std::copy(baseName.begin(), baseName.end(), to);
    return {buffer.data(), static_cast<std::size_t>(to - buffer.data())};
}

std::string EncodeRecord(const VerdictRecord& record) {
    KeyBuffer buffer;
    const std::string_view key = EncodeKey(record.profile, record.file, record.baseName, buffer);
    const bool isPassedOver = record.verdict.verdict == Verdict::PassedOver;
    if (key.empty() || (!isPassedOver && record.verdict.verdict != Verdict::Clean)) {
        return {};
    }
    std::string members;
    for (const std::string& member : record.verdict.members) {
        members += member;
        members += '\0';
        if (member.find('\0') != std::string::npos || members.size() > kMaxMemberBytes) {
            return {};
        }
    }
    std::string bytes = Bytes(kKeyAt + key.size() + members.size(), 2);
    bytes += static_cast<char>(isPassedOver ? 1 : 0);
    bytes += key;
    bytes += members;
    return IsWellFormed(bytes) ? bytes : std::string();
}

std::string_view KeyOf(std::string_view record) {
    return record.substr(kKeyAt, kNameAt - kKeyAt + SizeOfName(record));
}

CachedVerdict DecodeVerdict(std::string_view record) {
    CachedVerdict verdict;
    verdict.verdict =
        LittleEndian(record, kVerdictAt, 1) == 1 ? Verdict::PassedOver : Verdict::Clean;
    for (std::string_view members = MembersOf(record); !members.empty();) {
        const std::string_view member = members.substr(0, members.find('\0'));
        verdict.members.emplace_back(member);
        members.remove_prefix(member.size() + 1);
    }
    return verdict;
}

std::optional<std::string_view> TakeRecord(std::string_view& records) {
    const std::size_t size = records.size() < 2 ? 0 : LittleEndian(records, 0, 2);
    const std::string_view record = records.substr(0, size);
    if (record.size() != size || !IsWellFormed(record)) {
        return std::nullopt;
    }
    records.remove_prefix(size);
    return record;
}

std::string EncodeBatch(std::int64_t written, std::string_view basis, std::string_view records) {
    std::string head(kBatchMark);
    head += Bytes(records.size(), 4);
    head += Bytes(static_cast<std::uint64_t>(written), 8);
    head += basis;
    std::string digest = Digest(head, records);
    return head.append(digest).append(records);
}

std::string EncodeHead(std::uint64_t counting) {
    std::string head(kFileMark);
    head += Bytes(kVerdictVersion, 4);
    head += Bytes(0, 4);
    head += Bytes(counting, 8);
    return head + Digest(head, {});
}

std::optional<std::uint64_t> DecodeHead(std::string_view head) {
    constexpr std::size_t kCountingAt = 24;
    if (head.size() < kVerdictHeadSize) {
        return std::nullopt;
    }
    const std::uint64_t counting = LittleEndian(head, kCountingAt, 8);
    const bool isOurs = head.substr(0, kVerdictHeadSize) == EncodeHead(counting);
    return isOurs && counting >= kVerdictHeadSize ? std::optional(counting) : std::nullopt;
}

std::optional<std::vector<Batch>> DecodeBatches(std::string_view batches, std::string_view basis,
                                                std::int64_t now) {
    std::vector<Batch> found;
    while (!batches.empty()) {
        if (batches.size() < kBatchHeadSize || !batches.starts_with(kBatchMark)) {
            return std::nullopt;
        }
        const std::size_t size = LittleEndian(batches, 4, 4);
        const auto written = static_cast<std::int64_t>(LittleEndian(batches, 8, 8));
        if (size > kMaxBatchRecords || batches.size() - kBatchHeadSize < size || written > now) {
            return std::nullopt;
        }
        const std::string_view whole = batches.substr(0, kBatchHeadSize + size);
        const std::string_view records = whole.substr(kBatchHeadSize);
        batches.remove_prefix(whole.size());
        if (whole.substr(16, kBasisSize) != basis) {
            continue;
        }
        const std::string_view head = whole.substr(0, kBatchHeadSize - kDigestSize);
        const std::string_view digest = whole.substr(head.size(), kDigestSize);
        if (Digest(head, records) != digest || !AreBefore(records, written)) {
            return std::nullopt;
        }
        found.push_back({whole, records, written});
    }
    return found;
}

}  // namespace scanapi
