#include "product/vault/record_reader.h"

namespace vault {

namespace {

constexpr mode_t kAllModeBits = 07777;
constexpr std::uint64_t kNanoseconds = 1'000'000'000;
constexpr unsigned int kNeeded = 9;  // kinds 1 to 9 are each there once

bool TakeText(std::string_view bytes, std::size_t limit, std::string& text) {
    text = bytes;
    return bytes.size() <= limit && bytes.find('\0') == std::string_view::npos;
}

template <typename Number>
bool TakeNumber(std::string_view bytes, std::size_t size, Number& number) {
    if (bytes.size() != size) {
        return false;
    }
    number = static_cast<Number>(NumberAt(bytes, size));
    return true;
}

bool TakeTime(std::string_view bytes, timespec& time) {
    if (bytes.size() != 12) {
        return false;
    }
    const std::uint64_t nanoseconds = NumberAt(bytes.substr(8), 4);
    time.tv_sec = static_cast<time_t>(NumberAt(bytes, 8));
    time.tv_nsec = static_cast<long>(nanoseconds);
    return nanoseconds < kNanoseconds;
}

bool TakeAttribute(std::string_view bytes, ItemFacts& facts) {
    if (bytes.size() < 2) {
        return false;
    }
    const std::size_t length = NumberAt(bytes, 2);
    bytes.remove_prefix(2);
    ExtendedAttribute attribute;
    if (length == 0 || length > bytes.size() ||
        !TakeText(bytes.substr(0, length), kMaxAttributeName, attribute.name)) {
        return false;
    }
    bytes.remove_prefix(length);
    if (bytes.size() > kMaxAttributeValue) {
        return false;
    }
    attribute.value = bytes;
    facts.attributes.push_back(std::move(attribute));
    return true;
}

bool TakeRecord(RecordKind kind, std::string_view bytes, ItemFacts& facts) {
    switch (kind) {
        case RecordKind::kPath:
            return TakeText(bytes, kMaxPath, facts.path) && !bytes.empty();
        case RecordKind::kOwner:
            return TakeNumber(bytes, 4, facts.owner);
        case RecordKind::kGroup:
            return TakeNumber(bytes, 4, facts.group);
        case RecordKind::kMode:
            return TakeNumber(bytes, 4, facts.mode) && facts.mode <= kAllModeBits;
        case RecordKind::kAccessed:
            return TakeTime(bytes, facts.accessed);
        case RecordKind::kModified:
            return TakeTime(bytes, facts.modified);
        case RecordKind::kKept:
            return TakeNumber(bytes, 8, facts.kept);
        case RecordKind::kVirus:
            return TakeText(bytes, kMaxName, facts.virusName);
        case RecordKind::kDatabase:
            return TakeText(bytes, kMaxName, facts.database);
        case RecordKind::kAttribute:
            return TakeAttribute(bytes, facts);
    }
    return true;  // of a later version
}

}  // namespace

std::uint64_t NumberAt(std::string_view bytes, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = size; i > 0; --i) {
        number = number << 8U | static_cast<unsigned char>(bytes[i - 1]);
    }
    return number;
}

bool ParseRecords(std::string_view records, ItemFacts& facts) {
    unsigned int seen = 0;
    while (!records.empty()) {
        if (records.size() < kRecordHeadSize) {
            return false;
        }
        const auto kind = static_cast<unsigned int>(NumberAt(records, 2));
        const std::uint64_t zero = NumberAt(records.substr(2), 2);
        const std::size_t length = NumberAt(records.substr(4), 4);
        records.remove_prefix(kRecordHeadSize);
        if (zero != 0 || length > records.size() ||
            !TakeRecord(static_cast<RecordKind>(kind), records.substr(0, length), facts)) {
            return false;
        }
        records.remove_prefix(length);
        if (kind >= 1 && kind <= kNeeded) {
            const unsigned int bit = 1U << kind;
            if ((seen & bit) != 0) {
                return false;
            }
            seen |= bit;
        }
    }
    return seen == (1U << (kNeeded + 1)) - 2;
}

}  // namespace vault
