#include "product/scanwire/worker_messages.h"

#include <algorithm>
#include <set>

#include "product/scanwire/fields.h"

namespace scanwire {

namespace {

using scanning::ScanOutcome;
using scanning::ScanProfile;
using scanning::Verdict;

enum ToWorkerKind : std::uint8_t { kRegion = 33, kBatch };
enum FromWorkerKind : std::uint8_t { kMember = 49, kVerdict };

enum ProfileBits : std::uint8_t { kArchives = 1, kPacked = 2, kUnknownTypes = 4, kUnwanted = 8 };

enum VerdictByte : std::uint8_t { kClean = 0, kInfected, kUnreadable, kPassedOver };

std::uint8_t BitsOf(const ScanProfile& profile) {
    return static_cast<std::uint8_t>(
        (profile.archives ? kArchives : 0) | (profile.packed ? kPacked : 0) |
        (profile.unknownTypes ? kUnknownTypes : 0) | (profile.unwanted ? kUnwanted : 0));
}

ScanProfile ReadProfile(FieldReader& fields) {
    const unsigned int bits = fields.U8();
    fields.FailUnless(bits < 2 * kUnwanted);
    return {.archives = (bits & kArchives) != 0,
            .packed = (bits & kPacked) != 0,
            .unknownTypes = (bits & kUnknownTypes) != 0,
            .unwanted = (bits & kUnwanted) != 0};
}

// A worker stops only for an engine that is gone: what else there is, is unread.
VerdictByte ByteOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Clean:
            return kClean;
        case Verdict::Infected:
            return kInfected;
        case Verdict::PassedOver:
            return kPassedOver;
        default:
            return kUnreadable;
    }
}

Verdict ReadVerdict(FieldReader& fields) {
    switch (fields.U8()) {
        case kClean:
            return Verdict::Clean;
        case kInfected:
            return Verdict::Infected;
        case kUnreadable:
            return Verdict::Unreadable;
        case kPassedOver:
            return Verdict::PassedOver;
        default:
            fields.Fail();
            return Verdict::Unreadable;
    }
}

std::string Plain(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char byte) {
            return !IsPlain({&byte, 1});
        },
        '?');
    return text;
}

class Writer {
public:
    explicit Writer(std::string& packet) : m_fields(packet) {}

    void operator()(const Region& message) {
        m_fields.U8(kRegion);
        m_fields.U64(message.size);
    }
    void operator()(const Batch& message) {
        m_fields.U8(kBatch);
        m_fields.U8(BitsOf(message.profile));
        m_fields.U8(static_cast<std::uint8_t>(message.items.size()));
        for (const Item& item : message.items) {
            m_fields.U32(item.id);
            m_fields.U64(item.offset);
            m_fields.U64(item.size);
            m_fields.U8(item.byDescriptor ? 1 : 0);
            m_fields.Text(item.baseName, kMaxBaseName);
        }
    }
    void operator()(const Member& record) {
        m_fields.U8(kMember);
        m_fields.U32(record.id);
        m_fields.Text(record.name, kMaxMemberName);
    }
    void operator()(const FileVerdict& record) {
        const ScanOutcome& outcome = record.outcome;
        m_fields.U8(kVerdict);
        m_fields.U32(record.id);
        m_fields.U8(ByteOf(outcome.verdict));
        m_fields.Text(outcome.virusName, kMaxVirusName);
        m_fields.Text(outcome.member, kMaxMemberName);
        m_fields.Text(Plain(outcome.reason), kMaxReason);
    }

private:
    FieldWriter m_fields;
};

std::uint32_t ReadId(FieldReader& fields) {
    const std::uint32_t id = fields.U32();
    fields.FailUnless(id != 0);
    return id;
}

bool ReadFlag(FieldReader& fields) {
    const unsigned int flag = fields.U8();
    fields.FailUnless(flag <= 1);
    return flag == 1;
}

Item ReadItem(FieldReader& fields) {
    Item item{.id = ReadId(fields),
              .offset = fields.U64(),
              .size = fields.U64(),
              .byDescriptor = ReadFlag(fields),
              .baseName = std::string(fields.Text(kMaxBaseName))};
    const bool isInRegion = item.offset <= kMaxRegion && item.size <= kMaxRegion - item.offset;
    fields.FailUnless(item.byDescriptor ? item.offset == 0 : isInRegion);
    fields.FailUnless(item.baseName.find('/') == std::string::npos);
    return item;
}

Region ReadRegion(FieldReader& fields) {
    const Region message{.size = fields.U64()};
    fields.FailUnless(message.size >= 1 && message.size <= kMaxRegion);
    return message;
}

Batch ReadBatch(FieldReader& fields) {
    Batch message{.profile = ReadProfile(fields), .items = {}};
    const std::size_t count = fields.U8();
    fields.FailUnless(count >= 1 && count <= kMaxItems);
    std::set<std::uint32_t> ids;
    while (message.items.size() < count && !fields.Failed()) {
        message.items.push_back(ReadItem(fields));
        fields.FailUnless(ids.insert(message.items.back().id).second);
    }
    return message;
}

Member ReadMember(FieldReader& fields) {
    Member record{.id = ReadId(fields), .name = std::string(fields.Text(kMaxMemberName))};
    fields.FailUnless(!record.name.empty());
    return record;
}

FileVerdict ReadFileVerdict(FieldReader& fields) {
    FileVerdict record{.id = ReadId(fields),
                       .outcome = {.verdict = ReadVerdict(fields),
                                   .virusName = std::string(fields.Text(kMaxVirusName)),
                                   .member = std::string(fields.Text(kMaxMemberName)),
                                   .reason = std::string(fields.Text(kMaxReason))}};
    const auto& [verdict, virusName, member, reason] = record.outcome;
    fields.FailUnless((verdict == Verdict::Infected) == !virusName.empty());
    fields.FailUnless(verdict == Verdict::Infected || member.empty());
    fields.FailUnless(verdict == Verdict::Unreadable || reason.empty());
    fields.FailUnless(IsPlain(reason));
    return record;
}

}  // namespace

std::string Written(const ToWorker& message) {
    std::string packet;
    std::visit(Writer(packet), message);
    return packet;
}

void Append(std::string& packet, const FromWorker& record) {
    std::visit(Writer(packet), record);
}

std::optional<ToWorker> ReadToWorker(std::string_view packet) {
    FieldReader fields(packet);
    std::optional<ToWorker> message;
    switch (fields.U8()) {
        case kRegion:
            message = ReadRegion(fields);
            break;
        case kBatch:
            message = ReadBatch(fields);
            break;
        default:
            return std::nullopt;
    }
    return fields.IsDone() ? message : std::nullopt;
}

std::optional<std::vector<FromWorker>> ReadFromWorker(std::string_view packet) {
    FieldReader fields(packet);
    std::vector<FromWorker> records;
    do {
        switch (fields.U8()) {
            case kMember:
                records.emplace_back(ReadMember(fields));
                break;
            case kVerdict:
                records.emplace_back(ReadFileVerdict(fields));
                break;
            default:
                return std::nullopt;
        }
    } while (!fields.Failed() && !fields.IsDone());
    return fields.Failed() ? std::nullopt : std::optional(std::move(records));
}

std::size_t DescriptorsOf(const Batch& batch) {
    return static_cast<std::size_t>(
        std::count_if(batch.items.begin(), batch.items.end(),
                      [](const Item& item) { return item.byDescriptor; }));
}

}  // namespace scanwire
