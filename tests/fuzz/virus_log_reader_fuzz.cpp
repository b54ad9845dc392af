// The reader of the virus log's copies against a second, plain one.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "reports/virus_log/log_reader.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/memory_file.h"

namespace {

constexpr std::size_t kHeadSize = 88;
constexpr std::size_t kFixedSize = 210;
constexpr std::size_t kLongestText = 1'048'576;

struct Outcome {
    std::vector<std::size_t> records;  // where they begin
    std::size_t damaged = 0;
};

std::size_t NumberAt(std::string_view bytes, std::size_t at, std::size_t size) {
    std::size_t number = 0;
    for (std::size_t i = size; i > 0; --i) {
        number = number * 256 + static_cast<unsigned char>(bytes[at + i - 1]);
    }
    return number;
}

// The size of the record at `at`, 0 when there is none.
std::size_t RecordSizeAt(std::string_view records, std::size_t at) {
    if (records.size() - at < kFixedSize) {
        return 0;
    }
    const std::size_t path = NumberAt(records, at, 4);
    const std::size_t domain = NumberAt(records, at + 4, 4);
    const std::size_t month = NumberAt(records, at + 164, 2);
    const bool isRecord = path % 2 == 0 && domain % 2 == 0 && path <= kLongestText &&
                          domain <= kLongestText && month != 0 &&
                          path + domain <= records.size() - at - kFixedSize;
    return isRecord ? kFixedSize + path + domain : 0;
}

// The smallest offset in the table behind `at`, else the end of the records.
std::size_t NextKnown(std::string_view table, std::size_t at, std::size_t end) {
    std::size_t next = end;
    for (std::size_t i = 0; i + 4 <= table.size() && i / 4 < end - kHeadSize; i += 4) {
        const std::size_t offset = NumberAt(table, i, 4);
        if (offset >= kHeadSize && offset > at && offset < next) {
            next = offset;
        }
    }
    return next;
}

Outcome ByLengths(std::string_view records) {
    Outcome outcome;
    std::size_t at = kHeadSize;
    while (at < records.size()) {
        const std::size_t size = RecordSizeAt(records, at);
        if (size == 0) {
            outcome.damaged = records.size() - at;
            break;
        }
        outcome.records.push_back(at);
        at += size;
    }
    return outcome;
}

Outcome ByTable(std::string_view records, std::string_view table) {
    Outcome outcome;
    std::size_t at = kHeadSize;
    while (at < records.size()) {
        const std::size_t next = NextKnown(table, at, records.size());
        const std::size_t size = RecordSizeAt(records, at);
        if (size == 0 || size > next - at) {
            outcome.damaged += next - at;
            at = next;
        } else {
            outcome.records.push_back(at);
            at += size;
        }
    }
    return outcome;
}

std::string TextAt(std::string_view bytes, std::size_t at, std::size_t size) {
    const std::string_view field = bytes.substr(at, size);
    return std::string(field.substr(0, field.find('\0')));
}

// A text of plain letters must come back as these; others are the conversion's own concern.
void RequirePlainText(std::string_view text, std::string_view units) {
    std::string plain;
    for (std::size_t i = 0; i < units.size(); i += 2) {
        const std::size_t unit = NumberAt(units, i, 2);
        if (unit >= 0x80) {
            return;
        }
        plain += static_cast<char>(unit);
    }
    RequireSame(text, plain, "a text");
}

// The same for a field whose text ends at its first zero unit.
void RequirePlainField(std::string_view text, std::string_view field) {
    std::size_t size = 0;
    while (size < field.size() && NumberAt(field, size, 2) != 0) {
        size += 2;
    }
    RequirePlainText(text, field.substr(0, size));
}

void RequireTime(const tagSYSTEMTIME& time, std::string_view bytes, std::size_t at) {
    std::size_t field = at;
    for (const std::size_t value : {time.year, time.month, time.dayOfWeek, time.day, time.hour,
                                    time.minute, time.second, time.milliseconds}) {
        Require(value == NumberAt(bytes, field, 2), "another time");
        field += 2;
    }
}

void RequireEntry(const virus_log::VirusLogEntry& entry, std::string_view bytes, std::size_t at) {
    Require(entry.component == NumberAt(bytes, at + 8, 4), "another component");
    RequireSame(entry.virusName, TextAt(bytes, at + 12, 50), "the virus name");
    RequirePlainField(entry.action, bytes.substr(at + 62, 100));
    RequireTime(entry.time, bytes, at + 162);
    RequirePlainField(entry.userName, bytes.substr(at + 178, 32));
    const std::size_t path = NumberAt(bytes, at, 4);
    RequirePlainText(entry.filePath, bytes.substr(at + kFixedSize, path));
    RequirePlainText(entry.domainName,
                     bytes.substr(at + kFixedSize + path, NumberAt(bytes, at + 4, 4)));
}

void RequireHead(const virus_log::VirusLogContents& contents, std::string_view bytes) {
    const auto versionAt = [bytes](std::size_t at) {
        return static_cast<int>(static_cast<std::uint32_t>(NumberAt(bytes, at, 4)));
    };
    RequireSame(contents.majorVersion, versionAt(12), "the major version");
    RequireSame(contents.minorVersion, versionAt(16), "the minor version");
    RequirePlainField(contents.computerName, bytes.substr(52, 36));
}

void RequireContents(const virus_log::VirusLogContents& contents, std::string_view bytes,
                     std::size_t end) {
    const std::string_view records = bytes.substr(0, end);
    Outcome expected = ByLengths(records);
    const bool isTorn = expected.damaged != 0;
    if (isTorn) {
        expected = ByTable(records, bytes.substr(end));
    }
    const std::size_t count = contents.entries.size();
    RequireSame(static_cast<long long>(count), static_cast<long long>(expected.records.size()),
                "the number of records");
    RequireSame(static_cast<long long>(contents.damagedBytes),
                static_cast<long long>(expected.damaged), "the number of damaged bytes");
    for (std::size_t i = 0; i < count; ++i) {
        RequireEntry(contents.entries[i], bytes, expected.records[i]);
    }
    const std::size_t counted = NumberAt(bytes, 4, 4);
    Require(contents.missing == (isTorn && counted > count ? counted - count : 0),
            "another number missing");
}

void Check(std::string_view bytes) {
    static const MemoryFile file;
    file.Put(bytes);
    virus_log::VirusLogContents contents;
    const virus_log::ReadLogResult result = virus_log::ReadVirusLogCopy(file.Get(), contents);
    const std::size_t end = bytes.size() < kHeadSize ? 0 : NumberAt(bytes, 8, 4);
    if (end < kHeadSize || end > bytes.size()) {
        Require(result == virus_log::ReadLogResult::kNotALog && contents.entries.empty(),
                "that is no log");
        return;
    }
    Require(result == virus_log::ReadLogResult::kOk, "that is a log");
    RequireHead(contents, bytes);
    RequireContents(contents, bytes, end);
}

// The same with a table that begins inside the file, which chance seldom brings about.
std::string WithTableInside(std::string bytes) {
    const std::size_t end = kHeadSize + NumberAt(bytes, 8, 4) % (bytes.size() - kHeadSize + 1);
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[8 + i] = static_cast<char>(end >> (8 * i) & 0xFFU);
    }
    return bytes;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = FuzzInput(data, size).TakeRest();
    Check(bytes);
    if (bytes.size() >= kHeadSize) {
        Check(WithTableInside(std::string(bytes)));
    }
    return 0;
}
