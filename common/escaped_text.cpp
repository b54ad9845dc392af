#include "common/escaped_text.h"

#include <algorithm>

#include "common/misleading_characters.h"
#include "common/utf8.h"

namespace common {

namespace {

constexpr char kDigits[] = "0123456789abcdef";

void AppendByteEscape(std::string& out, unsigned char byte) {
    out += "\\x";
    out += kDigits[byte >> 4];
    out += kDigits[byte & 0xF];
}

bool IsPlain(char c) {
    return c >= 0x20 && c < 0x7F && c != '\\';
}

}  // namespace

void AppendCharacterEscape(std::string& out, char32_t character) {
    constexpr int kMostBits = 24;
    constexpr int kLeastBits = 16;
    out += "\\u{";
    for (int bits = kMostBits; bits > 0; bits -= 4) {
        if (bits <= kLeastBits || (character >> (bits - 4)) != 0) {
            out += kDigits[(character >> (bits - 4)) & 0xF];
        }
    }
    out += '}';
}

void AppendEscaped(std::string& out, std::string_view text) {
    while (!text.empty()) {
        // Nearly every text is plain from end to end.
        const auto* const end = std::find_if_not(text.begin(), text.end(), IsPlain);
        const auto plain = static_cast<std::size_t>(end - text.begin());
        out += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        const DecodedCharacter next = DecodeUtf8(text);
        if (!next.isWellFormed) {
            AppendByteEscape(out, static_cast<unsigned char>(text.front()));
        } else if (next.character == U'\\') {
            out += "\\\\";
        } else if (IsMisleading(next.character)) {
            AppendCharacterEscape(out, next.character);
        } else {
            out += text.substr(0, next.length);
        }
        text.remove_prefix(next.length);
    }
}

std::string Escaped(std::string_view text) {
    std::string out;
    AppendEscaped(out, text);
    return out;
}

}  // namespace common
