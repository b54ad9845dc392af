#include <array>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

#include "common/profile.h"
#include "common/profile_lines.h"
#include "common/text_field.h"

namespace {

// Not the 1,023 of the other readers: this one's lines may be 1,024 bytes long.
constexpr std::size_t kMaxLineLength = 1024;

// Cuts the first word from `text`; empty when there is none.
std::string_view TakeWord(std::string_view& text) {
    while (!text.empty() && common::IsProfileWhiteSpace(text.front())) {
        text.remove_prefix(1);
    }
    std::size_t length = 0;
    while (length < text.size() && !common::IsProfileWhiteSpace(text[length])) {
        ++length;
    }
    const std::string_view word = text.substr(0, length);
    text.remove_prefix(length);
    return word;
}

}  // namespace

std::uint32_t GetPrivateProfileString(const char* section, const char* key, const char* defaultText,
                                      char* destination, std::uint32_t size, const char* path) {
    if (section == nullptr || key == nullptr || defaultText == nullptr || destination == nullptr ||
        path == nullptr) {
        return 0;
    }
    const common::FileStream file = common::OpenProfile(path);
    if (!file) {
        return 0;
    }
    const std::span<char> field(destination, size);
    bool isInSection = false;
    std::array<char, kMaxLineLength + 1> line{};
    while (std::fgets(line.data(), static_cast<int>(line.size()), file.get()) != nullptr) {
        if (common::IsHeader(line.data())) {
            // Found anywhere in the line: limits files in use have longer names in their headers.
            const bool isMatching = std::strstr(line.data(), section) != nullptr;
            if (isInSection && !isMatching) {
                return 0;
            }
            isInSection = isMatching;
        }
        if (!isInSection) {
            continue;
        }
        // The header is split like any other line: "[LOGLIMIT] = 5" is an entry too.
        std::string_view rest = line.data();
        const std::string_view word = TakeWord(rest);
        TakeWord(rest);
        // Kept whether the key matches or not; callers look at the result, not at the text.
        common::CopyToField(field, TakeWord(rest));
        if (!word.empty() && word == key) {
            return static_cast<std::uint32_t>(common::FieldText(field).size());
        }
    }
    common::CopyToField(field, defaultText);
    return 0;
}
