// The reader of the update link file against a second, plain one.

#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/link_file.h"
#include "tests/fuzz/memory_file.h"
#include "update/files/update_links.h"

namespace {

using Links = std::vector<std::string>;

constexpr std::size_t kHeaderSize = 6;
constexpr std::size_t kRecordSize = 1036;
constexpr std::size_t kAddressOffset = 4;
constexpr std::size_t kLongestAddress = 1023;

std::string Unscrambled(std::string_view bytes) {
    std::string plain(bytes);
    for (char& byte : plain) {
        const auto value = static_cast<unsigned char>(byte);
        byte = static_cast<char>(value / 8 + value % 8 * 32);
    }
    return plain;
}

update::ReadLinksResult Oracle(std::string_view bytes, Links& links) {
    if (bytes.size() < kHeaderSize) {
        return update::ReadLinksResult::kNoHeader;
    }
    const unsigned int count = NumberAt(bytes, 4);
    if (count > 32'767 || bytes.size() - kHeaderSize < count * kRecordSize) {
        return update::ReadLinksResult::kFailed;
    }
    for (std::size_t index = 0; index < count; ++index) {
        const auto record = bytes.substr(kHeaderSize + index * kRecordSize, kRecordSize);
        links.push_back(
            TextOf(Unscrambled(record.substr(kAddressOffset))).substr(0, kLongestAddress));
    }
    return update::ReadLinksResult::kRead;
}

void RequireLinks(char** list, std::size_t count, const Links& expected) {
    Require(list != nullptr, "no list at all");
    RequireSame(static_cast<long long>(count), static_cast<long long>(expected.size()),
                "the number of addresses");
    for (std::size_t index = 0; index < count; ++index) {
        // All of the buffer, so that the sanitizer sees one that is too small.
        std::string buffer = expected[index];
        buffer.resize(update::kUpdateAddressSize, '\0');
        RequireSame(std::string_view(list[index], update::kUpdateAddressSize), buffer,
                    "an address");
    }
    CUpdate::FreeUpdtLink(list, static_cast<int>(count));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = FuzzInput(data, size).TakeRest();
    Links expected;
    const update::ReadLinksResult wanted = Oracle(bytes, expected);

    static const MemoryFile file;
    file.Put(bytes);
    update::AddressList links;
    const update::ReadLinksResult result = update::ReadUpdateLinks(file.Get(), links);
    RequireSame(static_cast<int>(result), static_cast<int>(wanted), "the result");
    if (wanted == update::ReadLinksResult::kRead) {
        const std::size_t count = links.Size();
        RequireLinks(links.Release(), count, expected);
        // Only here, because a failure would be written to the log of the machine.
        int publicCount = -1;
        char** list = CUpdate::ReadUpdLink(&publicCount, file.Path().c_str());
        RequireLinks(list, static_cast<std::size_t>(publicCount), expected);
    }
    return 0;
}
