#include "product/scanning/layer_check.h"

#include <algorithm>
#include <cstdint>

#include "product/scanning/scan_profile.h"
#include "product/scanning/stored_numbers.h"
#include "product/scanning/unread_reasons.h"

namespace scanning {

namespace {

std::string_view Compare(std::uint64_t stated, std::string_view bytes) {
    return stated > bytes.size() ? kCutShort : std::string_view();
}

std::string_view CheckIso(std::string_view bytes) {
    constexpr std::size_t kPrimary = 0x8000;
    if (LittleEndian(bytes, kPrimary, 1) != 1) {
        return {};
    }
    return Compare(LittleEndian(bytes, kPrimary + 80, 4) * LittleEndian(bytes, kPrimary + 128, 2),
                   bytes);
}

std::string_view CheckChm(std::string_view bytes) {
    const auto section = LittleEndian(bytes, 0x38, 8);
    if (section > bytes.size()) {
        return kCutShort;
    }
    return Compare(LittleEndian(bytes, section + 8, 8), bytes);
}

// A document ends in a mark. When it is encrypted, what says so may stand there, too, and without
// it what cannot be read looks like plain nonsense.
std::string_view CheckPdf(std::string_view bytes) {
    constexpr std::size_t kMuchAfterTheEnd = 64UL * 1024;
    const auto end = bytes.rfind("%%EOF");
    if (end == std::string_view::npos || bytes.size() - end > kMuchAfterTheEnd) {
        return kCutDocument;
    }
    // Arranged for reading over a network, it says at its beginning how long it is, and has such a
    // mark there, too.
    const std::string_view head = bytes.substr(0, 1024);
    const auto linear = head.find("/Linearized");
    const auto length = head.find("/L ", linear == std::string_view::npos ? head.size() : linear);
    if (length == std::string_view::npos) {
        return {};
    }
    std::uint64_t stated = 0;
    for (const char digit : head.substr(length + 3, 12)) {
        if (digit < '0' || digit > '9') {
            break;
        }
        stated = stated * 10 + static_cast<std::uint64_t>(digit - '0');
    }
    return stated > bytes.size() ? kCutDocument : std::string_view();
}

}  // namespace

std::string_view CheckLength(ContainerKind kind, std::string_view bytes) {
    switch (kind) {
        case ContainerKind::Iso:
            return CheckIso(bytes);
        case ContainerKind::Chm:
            return CheckChm(bytes);
        case ContainerKind::Cab:
            return Compare(LittleEndian(bytes, 8, 4), bytes);
        case ContainerKind::Pdf:
            return CheckPdf(bytes);
        default:
            return {};
    }
}

Listing ListArj(std::string_view bytes) {
    constexpr std::string_view kMark = "\x60\xea";
    constexpr std::uint64_t kGarbled = 1;
    constexpr std::uint64_t kGoesOnElsewhere = 4;
    Listing listing;
    bool isMember = false;
    while (bytes.starts_with(kMark)) {
        const std::string_view head = bytes.substr(4);
        std::size_t at = LittleEndian(bytes, 2, 2);
        if (at == 0) {
            return listing;
        }
        at += 4 + 4;
        while (const auto further = LittleEndian(bytes, at, 2)) {
            at += 2 + further + 4;
        }
        at += 2;
        const auto flags = LittleEndian(head, 4, 1);
        if (isMember && (flags & kGarbled) != 0) {
            listing.problem = kEncrypted;
        }
        if (isMember && (flags & kGoesOnElsewhere) != 0) {
            listing.problem = kCutShort;
        }
        const auto size = LittleEndian(head, 16, 4);
        if (isMember && LittleEndian(head, 6, 1) <= 1 && size > kNeverMatched) {
            ++listing.members;
            listing.bytes += size;
        }
        at += isMember ? LittleEndian(head, 12, 4) : 0;
        isMember = true;
        bytes.remove_prefix(std::min(at, bytes.size()));
    }
    // It ends in a head without contents.
    if (listing.problem.empty()) {
        listing.problem = kCutShort;
    }
    return listing;
}

}  // namespace scanning
