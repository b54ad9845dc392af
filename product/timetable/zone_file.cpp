#include <algorithm>
#include <cstdint>

#include "product/timetable/zone.h"

// The file of a zone: a block of 32-bit moments; from version 2 on a second one of 64-bit moments,
// which holds all that the first one does, and a line with the rule of the years after it.

namespace timetable {

namespace {

using std::chrono::seconds;
using std::chrono::sys_seconds;

// RFC 8536 has no offset beyond these; what is further out would overflow where days are counted.
constexpr std::int64_t kLeastOffset = -25LL * 3600;
constexpr std::int64_t kMostOffset = 26LL * 3600;

/// Takes big-endian numbers from the front of bytes. What is asked of it beyond their end is zero,
/// and is remembered.
class Bytes {
public:
    explicit Bytes(std::string_view bytes) : m_rest(bytes) {}

    [[nodiscard]] bool IsWhole() const { return m_isWhole; }
    [[nodiscard]] std::string_view Rest() const { return m_rest; }

    std::string_view Take(std::size_t count) {
        if (count > m_rest.size()) {
            m_isWhole = false;
            count = m_rest.size();
        }
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return taken;
    }

    std::int64_t Number(std::size_t size) {
        const std::string_view bytes = Take(size);
        if (bytes.empty() || !m_isWhole) {
            return 0;
        }
        std::uint64_t number = (static_cast<unsigned char>(bytes.front()) & 0x80U) != 0 ? ~0ULL : 0;
        for (const char byte : bytes) {
            number = (number << 8U) | static_cast<unsigned char>(byte);
        }
        return static_cast<std::int64_t>(number);
    }

private:
    std::string_view m_rest;
    bool m_isWhole = true;
};

struct Header {
    char version = 0;
    std::size_t universalFlags = 0;
    std::size_t standardFlags = 0;
    std::size_t leaps = 0;
    std::size_t moments = 0;
    std::size_t types = 0;
    std::size_t letters = 0;

    [[nodiscard]] std::size_t BlockSize(std::size_t momentSize) const {
        constexpr std::size_t kTypeSize = 6;
        return moments * (momentSize + 1) + types * kTypeSize + letters + leaps * (momentSize + 4) +
               standardFlags + universalFlags;
    }
};

std::optional<Header> TakeHeader(Bytes& bytes) {
    constexpr std::size_t kReserved = 15;
    constexpr std::int64_t kMostOfAnything = 1'000'000;
    if (bytes.Take(4) != "TZif") {
        return std::nullopt;
    }
    Header header;
    const std::string_view version = bytes.Take(1);
    header.version = version.empty() ? '\0' : version.front();
    bytes.Take(kReserved);
    for (std::size_t* count : {&header.universalFlags, &header.standardFlags, &header.leaps,
                               &header.moments, &header.types, &header.letters}) {
        const std::int64_t number = bytes.Number(4);
        if (number < 0 || number > kMostOfAnything) {
            return std::nullopt;
        }
        *count = static_cast<std::size_t>(number);
    }
    return bytes.IsWhole() && header.types > 0 ? std::optional(header) : std::nullopt;
}

struct Block {
    std::vector<std::int64_t> moments;
    std::vector<std::size_t> typeOfMoment;
    std::vector<std::int64_t> offsets;
};

std::optional<Block> TakeBlock(Bytes& all, const Header& header, std::size_t momentSize) {
    Bytes bytes(all.Take(header.BlockSize(momentSize)));
    if (!all.IsWhole()) {
        return std::nullopt;
    }
    Block block;
    for (std::size_t i = 0; i < header.moments; ++i) {
        block.moments.push_back(bytes.Number(momentSize));
    }
    for (std::size_t i = 0; i < header.moments; ++i) {
        block.typeOfMoment.push_back(static_cast<unsigned char>(bytes.Take(1).front()));
    }
    for (std::size_t i = 0; i < header.types; ++i) {
        block.offsets.push_back(bytes.Number(4));
        bytes.Take(2);  // whether it is summer, and where its name stands
    }
    const bool isSorted = std::adjacent_find(block.moments.begin(), block.moments.end(),
                                             std::greater_equal<>()) == block.moments.end();
    const bool areTypes = std::all_of(block.typeOfMoment.begin(), block.typeOfMoment.end(),
                                      [&](std::size_t type) { return type < header.types; });
    const bool areOffsets = std::all_of(
        block.offsets.begin(), block.offsets.end(),
        [](std::int64_t offset) { return offset >= kLeastOffset && offset <= kMostOffset; });
    return isSorted && areTypes && areOffsets ? std::optional(std::move(block)) : std::nullopt;
}

/// What stands between the two newlines at the end.
std::optional<std::string_view> FooterOf(std::string_view rest) {
    if (rest.size() < 2 || rest.front() != '\n' || rest.back() != '\n') {
        return std::nullopt;
    }
    return rest.substr(1, rest.size() - 2);
}

}  // namespace

std::optional<Zone> Zone::FromFile(std::string_view file) {
    constexpr std::size_t kShort = 4;
    constexpr std::size_t kLong = 8;
    Bytes bytes(file);
    auto header = TakeHeader(bytes);
    auto block = header ? TakeBlock(bytes, *header, kShort) : std::nullopt;
    if (!block) {
        return std::nullopt;
    }
    std::optional<ZoneRule> rule;
    if (header->version >= '2') {
        header = TakeHeader(bytes);
        block = header ? TakeBlock(bytes, *header, kLong) : std::nullopt;
        const auto footer = block ? FooterOf(bytes.Rest()) : std::nullopt;
        rule = footer ? ZoneRule::Parse(*footer) : std::nullopt;
        if (!footer || (!footer->empty() && !rule)) {
            return std::nullopt;
        }
    }
    Zone zone;
    zone.m_rule = rule;
    zone.m_changes.front().offset = seconds(block->offsets.front());
    for (std::size_t i = 0; i < block->moments.size(); ++i) {
        zone.m_changes.push_back({sys_seconds(seconds(block->moments[i])),
                                  seconds(block->offsets[block->typeOfMoment[i]])});
    }
    return zone;
}

}  // namespace timetable
