// The reader of the administrator's link file against a second, plain one.

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/io.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/link_file.h"
#include "tests/fuzz/memory_file.h"
#include "update/files/admin_links.h"

namespace {

using Links = std::vector<std::string>;

constexpr std::size_t kRecordSize = 554;
constexpr std::size_t kCountOffset = 26;
constexpr std::size_t kEntrySize = 256;

constexpr unsigned short kUntouchedCount = 4711;

std::string Unscrambled(std::string_view bytes) {
    std::string plain(bytes);
    for (char& byte : plain) {
        const auto value = static_cast<unsigned char>(byte);
        byte = static_cast<char>(value / 16 + value % 16 * 16);
    }
    return plain;
}

std::optional<Links> Oracle(std::string_view plain) {
    if (plain.size() < kRecordSize) {
        return std::nullopt;
    }
    const unsigned int count = NumberAt(plain, kCountOffset);
    if (plain.size() - kRecordSize < count * kEntrySize) {
        return std::nullopt;
    }
    Links links;
    for (std::size_t index = 0; index < count; ++index) {
        links.push_back(TextOf(plain.substr(kRecordSize + index * kEntrySize, kEntrySize)));
    }
    return links;
}

std::string RecordBytes(const tagADMNURLRECORD& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = FuzzInput(data, size).TakeRest();
    const std::string plain = Unscrambled(bytes);
    const std::optional<Links> wanted = Oracle(plain);

    static const MemoryFile file;
    file.Put(bytes);
    tagADMNURLRECORD record{};
    record.kind = 99;
    const std::string recordBefore = RecordBytes(record);
    unsigned short count = kUntouchedCount;
    char* nobodys = nullptr;
    char** list = &nobodys;
    unsigned int error = 77;
    const int result = ReadUpdateInfo(file.Path().c_str(), &record, &count, &list, error);

    RequireSame(result, wanted ? 1 : 0, "the result");
    RequireSame(error, 0, "the error");
    RequireSame(RecordBytes(record),
                bytes.size() < kRecordSize ? recordBefore : plain.substr(0, kRecordSize),
                "the record");
    if (!wanted) {
        RequireSame(count, kUntouchedCount, "the count after a failure");
        Require(list == &nobodys, "a failure touched the list");
    } else {
        RequireSame(count, static_cast<long long>(wanted->size()), "the number of addresses");
        Require((list == nullptr) == wanted->empty(), "the list is there without its addresses");
        for (std::size_t index = 0; index < wanted->size(); ++index) {
            RequireSame(std::string_view(list[index]), (*wanted)[index], "an address");
        }
        FreeMemory(list, count);
    }

    std::string after(bytes.size() + 1, '\0');
    RequireSame(common::ReadFull(file.Get(), std::as_writable_bytes(std::span(after))),
                static_cast<long long>(bytes.size()), "the file's size");
    after.resize(bytes.size());
    RequireSame(after, bytes, "the file");
    return 0;
}
