// The reader of the help viewer's lists of pages against a second, plain one, and what is written
// of a list against what it was read from.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "help/files/page_list.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/memory_file.h"

namespace {

std::size_t NumberAt(std::string_view bytes, std::size_t place) {
    std::size_t number = 0;
    for (std::size_t i = place; i < place + 4; ++i) {
        number = number * 256 + static_cast<unsigned char>(bytes[i]);
    }
    return number;
}

// The bytes of each text; nothing when the list is not whole.
std::optional<std::vector<std::string_view>> Texts(std::string_view bytes) {
    if (bytes.size() < 4) {
        return std::nullopt;
    }
    std::vector<std::string_view> texts;
    std::size_t place = 4;
    for (std::size_t left = NumberAt(bytes, 0); left > 0; --left) {
        if (place + 4 > bytes.size()) {
            return std::nullopt;
        }
        std::size_t size = NumberAt(bytes, place);
        place += 4;
        if (size == 4'294'967'295) {
            size = 0;
        }
        if (size % 2 == 1 || place + size > bytes.size()) {
            return std::nullopt;
        }
        texts.push_back(bytes.substr(place, size));
        place += size;
    }
    return texts;
}

void RequireText(const std::u16string& text, std::string_view bytes) {
    Require(text.size() * 2 == bytes.size(), "the length of a text");
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int unit = static_cast<unsigned char>(bytes[2 * i]) * 256 +
                         static_cast<unsigned char>(bytes[2 * i + 1]);
        RequireSame(text[i], unit, "a unit of a text");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = FuzzInput(data, size).TakeRest();
    const auto expected = Texts(bytes);
    const auto pages = help::ParsePageList(std::as_bytes(std::span(bytes)));
    Require(pages.has_value() == expected.has_value(), "what it takes for a list");

    static const MemoryFile file;
    file.Put(bytes);
    const help::PageList read = help::ReadPageList(file.Get());
    if (!pages) {
        Require(read.empty(), "pages of a damaged file");
        return 0;
    }
    Require(read == *pages, "what is read of the file");
    Require(pages->size() == expected->size(), "the number of texts");
    for (std::size_t i = 0; i < pages->size(); ++i) {
        RequireText((*pages)[i], (*expected)[i]);
    }
    const std::string written = help::PageListBytes(*pages);
    Require(help::ParsePageList(std::as_bytes(std::span(written))) == pages, "what is written");
    return 0;
}
