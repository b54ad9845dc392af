#include "common/text_field.h"

#include <algorithm>

namespace common {

bool CopyToUnterminatedField(std::span<char> field, std::string_view text) {
    const std::size_t length = std::min(field.size(), text.size());
    const auto end = std::copy_n(text.begin(), length, field.begin());
    std::fill(end, field.end(), '\0');
    return length == text.size();
}

bool CopyToField(std::span<char> field, std::string_view text) {
    if (field.empty()) {
        return text.empty();
    }
    field.back() = '\0';
    return CopyToUnterminatedField(field.first(field.size() - 1), text);
}

std::string_view FieldText(std::span<const char> field) {
    const auto end = std::find(field.begin(), field.end(), '\0');
    return {field.data(), static_cast<std::size_t>(end - field.begin())};
}

}  // namespace common
