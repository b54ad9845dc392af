#include "product/signed_index/minisign_text.h"

#include <algorithm>
#include <sodium/utils.h>

namespace signed_index {

std::optional<std::string_view> TakeLine(std::string_view& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

bool DecodeBase64(std::string_view text, std::span<unsigned char> bytes) {
    std::size_t length = 0;
    const char* end = nullptr;
    // libsodium takes some bytes above ASCII for digits.
    const bool isAscii = std::all_of(text.begin(), text.end(), [](char character) {
        return character > ' ' && character <= '~';
    });
    return isAscii &&
           sodium_base642bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &length,
                             &end, sodium_base64_VARIANT_ORIGINAL) == 0 &&
           length == bytes.size() && end == text.data() + text.size();
}

std::string EncodeBase64(std::span<const unsigned char> bytes) {
    std::string text(sodium_base64_encoded_len(bytes.size(), sodium_base64_VARIANT_ORIGINAL), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                      sodium_base64_VARIANT_ORIGINAL);
    text.pop_back();  // the terminator
    return text;
}

}  // namespace signed_index
