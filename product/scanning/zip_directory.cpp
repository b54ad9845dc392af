#include "product/scanning/zip_directory.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "product/scanning/scan_profile.h"
#include "product/scanning/stored_numbers.h"
#include "product/scanning/unread_reasons.h"

namespace scanning {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kMember = "PK\x03\x04";
constexpr std::string_view kEntry = "PK\x01\x02";
constexpr std::string_view kEnd = "PK\x05\x06";
constexpr std::string_view kLargeEnd = "PK\x06\x06";
constexpr std::string_view kLargeEndPlace = "PK\x06\x07";
constexpr std::size_t kMemberHead = 30;
constexpr std::size_t kEntryHead = 46;
constexpr std::size_t kEndHead = 22;
constexpr std::size_t kLargeEndHead = 56;
constexpr std::size_t kLargeEndPlaceHead = 20;
// What stands for a number that is in a field of its own.
constexpr std::uint64_t kElsewhere = 0xffffffff;

/// Where the listing is.
struct Directory {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::uint64_t base = 0;  ///< what offsets count from; more than 0 behind a program
    bool ofSeveralFiles = false;
};

struct Range {
    std::uint64_t begin;
    std::uint64_t end;
};

bool StartsAt(std::string_view bytes, std::uint64_t offset, std::string_view what) {
    return offset <= bytes.size() && bytes.substr(offset).starts_with(what);
}

std::optional<std::size_t> FindEnd(std::string_view bytes) {
    for (auto at = bytes.rfind(kEnd); at != std::string_view::npos;
         at = bytes.rfind(kEnd, at - 1)) {
        if (at + kEndHead <= bytes.size() &&
            at + kEndHead + LittleEndian(bytes, at + 20, 2) <= bytes.size()) {
            return at;
        }
        if (at == 0) {
            break;
        }
    }
    return std::nullopt;
}

std::optional<Directory> DirectoryAt(std::uint64_t end, std::uint64_t size, std::uint64_t offset) {
    if (size > end || offset > end - size) {
        return std::nullopt;
    }
    return Directory{end - size, end, end - size - offset};
}

std::optional<Directory> FindDirectory(std::string_view bytes) {
    const auto end = FindEnd(bytes);
    if (!end) {
        return std::nullopt;
    }
    const bool hasLarge = *end >= kLargeEndPlaceHead + kLargeEndHead &&
                          StartsAt(bytes, *end - kLargeEndPlaceHead, kLargeEndPlace);
    if (hasLarge) {
        const std::size_t large = bytes.rfind(kLargeEnd, *end - kLargeEndPlaceHead);
        if (large == std::string_view::npos) {
            return std::nullopt;
        }
        return DirectoryAt(large, LittleEndian(bytes, large + 40, 8),
                           LittleEndian(bytes, large + 48, 8));
    }
    auto directory =
        DirectoryAt(*end, LittleEndian(bytes, *end + 12, 4), LittleEndian(bytes, *end + 16, 4));
    if (directory) {
        directory->ofSeveralFiles = LittleEndian(bytes, *end + 4, 2) != 0;
    }
    return directory;
}

// The packed size and the place of a member, from its entry or, when too large for that, from the
// field made for it.
struct Place {
    std::uint64_t packed;
    std::uint64_t offset;
};

Place PlaceOf(std::string_view entry, std::string_view extra) {
    Place place{LittleEndian(entry, 20, 4), LittleEndian(entry, 42, 4)};
    const bool largeSize = LittleEndian(entry, 24, 4) == kElsewhere;
    while (extra.size() >= 4) {
        const auto size = LittleEndian(extra, 2, 2);
        if (LittleEndian(extra, 0, 2) == 1) {
            std::size_t at = largeSize ? 12 : 4;
            if (place.packed == kElsewhere) {
                place.packed = LittleEndian(extra, at, 8);
                at += 8;
            }
            if (place.offset == kElsewhere) {
                place.offset = LittleEndian(extra, at, 8);
            }
            break;
        }
        extra.remove_prefix(std::min<std::size_t>(extra.size(), 4 + size));
    }
    return place;
}

std::uint64_t ContentsOfMember(std::string_view bytes, std::uint64_t begin) {
    return begin + kMemberHead + LittleEndian(bytes, begin + 26, 2) +
           LittleEndian(bytes, begin + 28, 2);
}

// As it says itself. One that is too large for that is taken to end with the data.
std::uint64_t EndOfMember(std::string_view bytes, std::uint64_t begin) {
    const auto packed = LittleEndian(bytes, begin + 18, 4);
    return packed == kElsewhere ? bytes.size() : ContentsOfMember(bytes, begin) + packed;
}

// The part of the file that a listed member takes; nothing when it is not where it should be.
std::optional<Range> RangeOf(std::string_view bytes, const Directory& directory,
                             const Place& place) {
    if (place.offset > directory.begin - directory.base) {
        return std::nullopt;
    }
    const std::uint64_t begin = directory.base + place.offset;
    if (!StartsAt(bytes, begin, kMember)) {
        return std::nullopt;
    }
    const std::uint64_t contents = ContentsOfMember(bytes, begin);
    if (contents > directory.begin || place.packed > directory.begin - contents) {
        return std::nullopt;
    }
    return Range{begin, contents + place.packed};
}

std::optional<std::vector<Range>> ListedRanges(std::string_view bytes, const Directory& directory) {
    std::vector<Range> ranges;
    std::uint64_t at = directory.begin;
    while (at + kEntryHead <= directory.end && StartsAt(bytes, at, kEntry)) {
        const std::string_view entry = bytes.substr(at);
        const auto name = LittleEndian(entry, 28, 2);
        const auto extra = LittleEndian(entry, 30, 2);
        const auto comment = LittleEndian(entry, 32, 2);
        const auto size = kEntryHead + name + extra + comment;
        if (size > directory.end - at) {
            return std::nullopt;
        }
        const auto range =
            RangeOf(bytes, directory, PlaceOf(entry, entry.substr(kEntryHead + name, extra)));
        if (!range) {
            return std::nullopt;
        }
        ranges.push_back(*range);
        at += size;
    }
    // A signature of the listing may follow the entries.
    if (at != directory.end && !StartsAt(bytes, at, "PK\x05\x05")) {
        return std::nullopt;
    }
    std::sort(ranges.begin(), ranges.end(),
              [](const Range& left, const Range& right) { return left.begin < right.begin; });
    return ranges;
}

// To libclamav.
bool IsKnownMethod(std::uint64_t method) {
    constexpr std::array<std::uint64_t, 5> kKnown{0, 6, 8, 9, 12};
    return std::find(kKnown.begin(), kKnown.end(), method) != kKnown.end();
}

bool HoldsMember(std::string_view bytes, std::uint64_t begin, std::uint64_t end) {
    for (auto at = FindBytes(bytes, kMember, begin); at < end;
         at = FindBytes(bytes, kMember, at + 1)) {
        if (IsZipMember(bytes, at)) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool IsZipMember(std::string_view bytes, std::size_t offset) {
    if (!StartsAt(bytes, offset, kMember) || bytes.size() - offset < kMemberHead) {
        return false;
    }
    const std::string_view head = bytes.substr(offset);
    const auto version = LittleEndian(head, 4, 1);
    const auto method = LittleEndian(head, 8, 2);
    const auto name = LittleEndian(head, 26, 2);
    constexpr std::uint64_t kNewestVersion = 63;
    constexpr std::uint64_t kLongestName = 4096;
    if (version > kNewestVersion || (method > 20 && (method < 92 || method > 99)) || name == 0 ||
        name > kLongestName || name > head.size() - kMemberHead) {
        return false;
    }
    const std::string_view text = head.substr(kMemberHead, name);
    return std::none_of(text.begin(), text.end(),
                        [](char byte) { return static_cast<unsigned char>(byte) < ' '; });
}

MembersPassedOver FindMembersPassedOver(std::string_view bytes) {
    constexpr std::uint64_t kIsEncrypted = 1;
    constexpr std::uint64_t kSizeComesLater = 8;
    MembersPassedOver found;
    for (auto at = FindBytes(bytes, kMember, 0); at != std::string_view::npos;
         at = FindBytes(bytes, kMember, at + 1)) {
        const auto flags = LittleEndian(bytes, at + 6, 2);
        const bool isSizeKnown = (flags & kSizeComesLater) == 0;
        const bool hasContents = !isSizeKnown || LittleEndian(bytes, at + 22, 4) > kNeverMatched;
        if (hasContents && IsZipMember(bytes, at)) {
            found.cutShort =
                found.cutShort || (isSizeKnown && EndOfMember(bytes, at) > bytes.size());
            found.encrypted = found.encrypted || (flags & kIsEncrypted) != 0;
            found.packedOtherwise =
                found.packedOtherwise || !IsKnownMethod(LittleEndian(bytes, at + 8, 2));
        }
    }
    return found;
}

std::string_view CheckZip(std::string_view bytes) {
    const auto directory = FindDirectory(bytes);
    if (!directory || directory->ofSeveralFiles) {
        return kCutShort;
    }
    const auto ranges = ListedRanges(bytes, *directory);
    if (!ranges) {
        return kDamaged;
    }
    std::uint64_t covered = 0;
    for (const Range& range : *ranges) {
        if (range.begin > covered && HoldsMember(bytes, covered, range.begin)) {
            return kUnlisted;
        }
        covered = std::max(covered, range.end);
    }
    return HoldsMember(bytes, covered, directory->begin) ? kUnlisted : std::string_view();
}

}  // namespace scanning
