// The reader of the verdict cache. The input is the parts of a file: they are put together with the
// right digests, so that the fuzzer is not stopped by them, but for a byte that is changed
// afterwards. What is read is what a second, plain reader sees, and what is written of it again is
// the same bytes.

#include <string>
#include <string_view>
#include <vector>

#include "product/scanapi/verdict_format.h"
#include "product/scanapi/verdict_table.h"
#include "tests/fuzz/fuzz.h"

namespace {

using scanapi::Batch;

constexpr std::int64_t kNow = 1000;
const std::string kOurs(64, 'a');
const std::string kOther(64, 'b');

std::uint64_t Number(std::string_view bytes) {
    std::uint64_t number = 0;
    for (std::size_t i = bytes.size(); i > 0; --i) {
        number = number * 256 + static_cast<unsigned char>(bytes[i - 1]);
    }
    return number;
}

bool IsFineName(std::string_view name) {
    for (const char c : name) {
        if (c == '\0' || c == '/') {
            return false;
        }
    }
    return !name.empty();
}

// The members, nothing where they are not well-formed.
bool Split(std::string_view bytes, std::vector<std::string_view>& members) {
    while (!bytes.empty()) {
        const auto end = bytes.find('\0');
        if (end == 0 || end == std::string_view::npos) {
            return false;
        }
        members.push_back(bytes.substr(0, end));
        bytes.remove_prefix(end + 1);
    }
    return true;
}

// The records one after the other, nothing when one of them is not well-formed or too new.
bool Read(std::string_view records, std::int64_t written, std::vector<std::string_view>& found) {
    while (!records.empty()) {
        const std::size_t size = records.size() < 69 ? 0 : Number(records.substr(0, 2));
        if (size < 69 || size > records.size()) {
            return false;
        }
        const std::string_view record = records.substr(0, size);
        const auto nameSize = static_cast<unsigned char>(record[68]);
        std::vector<std::string_view> members;
        if (static_cast<unsigned char>(record[2]) > 1 ||
            static_cast<unsigned char>(record[3]) > 15 ||
            Number(record.substr(52, 4)) >= 1'000'000'000 ||
            Number(record.substr(64, 4)) >= 1'000'000'000 ||
            static_cast<std::int64_t>(Number(record.substr(56, 8))) > written ||
            size < 69U + nameSize || !IsFineName(record.substr(69, nameSize)) ||
            size - 69 - nameSize > 4096 || !Split(record.substr(69U + nameSize), members)) {
            return false;
        }
        found.push_back(record);
        records.remove_prefix(size);
    }
    return true;
}

scanapi::FileIdentity FileIn(std::string_view record) {
    scanapi::FileIdentity file;
    for (std::size_t i = 0; i < 16; ++i) {
        file.fileSystem.uuid[i] = static_cast<std::byte>(record[4 + i]);
    }
    file.fileSystem.part = Number(record.substr(20, 8));
    file.inode = Number(record.substr(28, 8));
    file.size = Number(record.substr(36, 8));
    file.modified = {static_cast<std::int64_t>(Number(record.substr(44, 8))),
                     static_cast<std::uint32_t>(Number(record.substr(52, 4)))};
    file.changed = {static_cast<std::int64_t>(Number(record.substr(56, 8))),
                    static_cast<std::uint32_t>(Number(record.substr(64, 4)))};
    return file;
}

// What is read of a record is what it says, and it is found by it.
void RequireRead(std::string_view record, scanapi::VerdictTable& table) {
    const auto bits = static_cast<unsigned char>(record[3]);
    const scanning::ScanProfile profile{(bits & 1U) != 0, (bits & 2U) != 0, (bits & 4U) != 0,
                                        (bits & 8U) != 0};
    const std::string_view name = record.substr(69, static_cast<unsigned char>(record[68]));
    const auto verdict = scanapi::DecodeVerdict(record);
    RequireSame(scanapi::EncodeRecord({profile, FileIn(record), name, verdict}), record,
                "the record written again");
    scanapi::KeyBuffer buffer;
    const auto key = scanapi::EncodeKey(profile, FileIn(record), name, buffer);
    RequireSame(scanapi::KeyOf(record), key, "the key");
    Require(table.Add(record), "a record is not taken");
    const auto found = table.Find(key);
    Require(found.has_value(), "a record is not found");
    RequireSame(*found, record, "the record found");
}

}  // namespace

// The first byte: 0 to 127 leave the batches as they were put together, the others change a byte at
// the place that the second and third give. Of each batch the first byte says whether it is on our
// basis (even), the second when it was written, the next two the size of its records.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned int change = input.TakeByte();
    const std::size_t place = input.TakeByte() + 256U * input.TakeByte();
    static std::string all;
    all.clear();
    std::vector<std::string_view> expected;
    bool isFine = true;
    while (!input.IsEmpty()) {
        const bool isOurs = input.TakeByte() % 2 == 0;
        const std::int64_t written = std::int64_t{4} * input.TakeByte();
        const std::size_t wanted = input.TakeByte() + 256U * input.TakeByte();
        const std::string_view records = input.TakeBytes(wanted);
        all += scanapi::EncodeBatch(written, isOurs ? kOurs : kOther, records);
        isFine = isFine && written <= kNow && (!isOurs || Read(records, written, expected));
    }
    const bool isChanged = change >= 128 && !all.empty();
    if (isChanged) {
        char& byte = all[place % all.size()];
        byte = static_cast<char>(byte ^ static_cast<char>(change));
    }
    const auto batches = scanapi::DecodeBatches(all, kOurs, kNow);
    if (isChanged) {
        return 0;
    }
    Require(batches.has_value() == isFine, "what it takes for whole");
    if (!batches) {
        return 0;
    }
    scanapi::VerdictTable table(1U << 30U);
    std::size_t count = 0;
    for (const Batch& batch : *batches) {
        std::string_view records = batch.records;
        while (const auto record = scanapi::TakeRecord(records)) {
            Require(count < expected.size(), "more than there is");
            RequireSame(*record, expected[count++], "a record");
            RequireRead(*record, table);
        }
        Require(records.empty(), "what is left");
    }
    Require(count == expected.size(), "fewer than there are");
    return 0;
}
