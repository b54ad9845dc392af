#include "product/virlog/escape.h"

#include <algorithm>
#include <iterator>

#include "product/virlog/utf8.h"

namespace {

struct CharacterRange {
    char32_t first;
    char32_t last;
};

// In order. The joiners U+200C and U+200D are left alone: several scripts cannot be written
// without.
constexpr CharacterRange kUnfit[] = {
    {0x0000, 0x001F},    // C0 controls
    {0x007F, 0x009F},    // DEL and C1 controls
    {0x00AD, 0x00AD},    // soft hyphen
    {0x061C, 0x061C},    // Arabic letter mark
    {0x115F, 0x1160},    // Hangul fillers
    {0x180E, 0x180E},    // Mongolian vowel separator
    {0x200B, 0x200B},    // zero width space
    {0x200E, 0x200F},    // direction marks
    {0x2028, 0x202E},    // line and paragraph separator; direction embeddings and overrides
    {0x2060, 0x206F},    // word joiner, invisible operators, direction isolates
    {0x3164, 0x3164},    // Hangul filler
    {0xFDD0, 0xFDEF},    // no characters
    {0xFEFF, 0xFEFF},    // byte order mark
    {0xFFA0, 0xFFA0},    // halfwidth Hangul filler
    {0xFFF0, 0xFFFB},    // unassigned; interlinear annotations
    {0xE0000, 0xE00FF},  // tags
};

bool IsUnfit(char32_t character) {
    if (character >= 0x20 && character < 0x7F) {
        return false;
    }
    if ((character & 0xFFFE) == 0xFFFE) {
        return true;  // The last two of every plane are no characters.
    }
    const auto* const range =
        std::lower_bound(std::begin(kUnfit), std::end(kUnfit), character,
                         [](const CharacterRange& r, char32_t c) { return r.last < c; });
    return range != std::end(kUnfit) && range->first <= character;
}

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
        } else if (IsUnfit(next.character)) {
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
