#include "reports/virus_log/log_reader.h"

#include <algorithm>
#include <fcntl.h>
#include <iterator>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/text_field.h"
#include "common/utf16.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/record_walk.h"
#include "reports/virus_log/virus_record.h"

namespace virus_log {

namespace {

using Offset = std::uint64_t;

constexpr Offset kHeadSize = sizeof(tagVIRHEAD);
constexpr Offset kFixedSize = sizeof(tagVIRRECORD);

std::u16string Units(std::span<const std::byte> bytes) {
    std::u16string units(bytes.size() / sizeof(char16_t), u'\0');
    std::copy(bytes.begin(), bytes.end(), std::as_writable_bytes(std::span(units)).begin());
    return units;
}

// The text in a zero-padded field of units.
std::string FieldBytes(std::span<const std::byte> field) {
    const std::u16string units = Units(field);
    return common::BytesFromUtf16(std::u16string_view(units).substr(0, units.find(u'\0')));
}

VirusLogEntry Decode(const tagVIRRECORD& record, std::span<const std::byte> strings) {
    const auto path = strings.first(record.pathLength);
    const auto domain = strings.subspan(record.pathLength);
    return {record.component,
            std::string(common::FieldText(record.virusName)),
            FieldBytes(std::as_bytes(std::span(record.action))),
            record.time,
            FieldBytes(std::as_bytes(std::span(record.userName))),
            common::BytesFromUtf16(Units(path)),
            common::BytesFromUtf16(Units(domain))};
}

// Where records lie, found without decoding them.
struct Walk {
    std::vector<Offset> records;
    std::uint64_t damaged = 0;
};

// The same where a record is torn: the next offset in the table tells where to go on. A table that
// is itself out of date is asked only now.
Walk WalkByTable(WindowedFile& file, Offset end, const std::vector<Offset>& table) {
    Walk walk;
    Offset at = kHeadSize;
    while (at < end) {
        const auto next = std::upper_bound(table.begin(), table.end(), at);
        const Offset limit = next == table.end() ? end : *next;
        const auto record = file.RecordAt(at);
        if (record && RecordSize(*record) <= limit - at) {
            walk.records.push_back(at);
            at += RecordSize(*record);
        } else {
            walk.damaged += limit - at;
            at = limit;
        }
    }
    return walk;
}

// The offsets in the table that lie between the head and `end`, in ascending order. There can be
// more of them than whole records have room, because torn ones are short; yet each is another
// byte's.
std::vector<Offset> ReadTable(int fd, Offset size, Offset end) {
    constexpr Offset kBlockSize = 65'536;
    constexpr Offset kEntrySize = sizeof(std::uint32_t);
    const Offset count = std::min((size - end) / kEntrySize, end - kHeadSize);
    std::vector<Offset> table;
    std::vector<std::uint32_t> block;
    for (Offset done = 0; done < count; done += block.size()) {
        block.resize(static_cast<std::size_t>(std::min(count - done, kBlockSize)));
        if (!ReadAt(fd, static_cast<off_t>(end + done * kEntrySize),
                    std::as_writable_bytes(std::span(block)))) {
            break;
        }
        std::copy_if(block.begin(), block.end(), std::back_inserter(table),
                     [end](std::uint32_t offset) { return offset >= kHeadSize && offset < end; });
    }
    std::sort(table.begin(), table.end());
    return table;
}

// All of `at`, decoded; nothing when the file cannot be read any more.
std::optional<VirusLogEntry> ReadEntry(WindowedFile& file, Offset at) {
    const auto record = file.RecordAt(at);
    if (!record) {
        return std::nullopt;
    }
    const Offset length = RecordSize(*record) - kFixedSize;
    const auto strings = file.At(at + kFixedSize, length);
    return strings.size() == length ? std::optional(Decode(*record, strings)) : std::nullopt;
}

// Reads the `size` bytes of a file whose records end at `end`, with the table behind them.
void ReadRecords(int fd, const tagVIRHEAD& head, Offset end, Offset size, VirusLogContents& out) {
    out.majorVersion = head.identity.majorVersion;
    out.minorVersion = head.identity.minorVersion;
    out.computerName = FieldBytes(std::as_bytes(std::span(head.identity.computerName)));

    WindowedFile file(fd, end);
    Walk walk;
    auto records = WalkByLengths(file);
    // A count that is too high means nothing where every record is whole: who was killed between
    // head and record has left it, or a trim has.
    const bool isWhole = records.has_value();
    if (isWhole) {
        walk.records = std::move(*records);
    } else {
        walk = WalkByTable(file, end, ReadTable(fd, size, end));
    }
    out.entries.reserve(walk.records.size());
    for (const Offset at : walk.records) {
        if (auto entry = ReadEntry(file, at)) {
            out.entries.push_back(std::move(*entry));
        }
    }
    out.damagedBytes = walk.damaged;
    const auto found = static_cast<std::uint32_t>(out.entries.size());
    out.missing = !isWhole && head.counter.count > found ? head.counter.count - found : 0;
}

}  // namespace

ReadLogResult ReadVirusLogCopy(const char* path, VirusLogContents& out) {
    out = {};
    const common::FileDescriptor copy =
        common::OpenRegularFile(path, O_RDONLY, common::Links::kNone);
    return copy ? ReadVirusLogCopy(copy.Get(), out) : ReadLogResult::kCannotOpen;
}

ReadLogResult ReadVirusLogCopy(int fd, VirusLogContents& out) {
    out = {};
    const auto size = static_cast<Offset>(std::max<off_t>(SizeOf(fd), 0));
    tagVIRHEAD head{};
    if (!ReadAt(fd, 0, common::BytesOf(head))) {
        return ReadLogResult::kNotALog;
    }
    const Offset end = head.counter.tableOffset;
    if (end < kHeadSize || end > size) {
        return ReadLogResult::kNotALog;
    }
    ReadRecords(fd, head, end, size, out);
    return ReadLogResult::kOk;
}

ReadLogResult ReadRecordFile(int fd, std::uint64_t size, VirusLogContents& out) {
    out = {};
    tagVIRHEAD head{};
    if (size < kHeadSize || !ReadAt(fd, 0, common::BytesOf(head))) {
        return ReadLogResult::kNotALog;
    }
    ReadRecords(fd, head, size, size, out);
    return ReadLogResult::kOk;
}

}  // namespace virus_log
