#include "common/utf8.h"

namespace common {

namespace {

unsigned char ByteAt(std::string_view text, std::size_t index) {
    return static_cast<unsigned char>(text[index]);
}

// Leaves out what could be written shorter, surrogates, and what lies above U+10FFFF.
bool IsInRange(char32_t character, std::size_t length) {
    switch (length) {
        case 3:
            return character >= 0x800 && (character < 0xD800 || character > 0xDFFF);
        case 4:
            return character >= 0x10000 && character <= 0x10FFFF;
        default:
            return true;
    }
}

}  // namespace

std::size_t AnnouncedUtf8Length(unsigned char first) {
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return 2;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return 3;
    }
    return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

DecodedCharacter DecodeUtf8(std::string_view text) {
    constexpr unsigned char kDataBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    const unsigned char first = ByteAt(text, 0);
    const DecodedCharacter malformed{first, 1, false};
    const std::size_t length = AnnouncedUtf8Length(first);
    if (length == 0 || length > text.size()) {
        return malformed;
    }
    char32_t character = first & kDataBits[length];
    for (std::size_t i = 1; i < length; ++i) {
        const unsigned char next = ByteAt(text, i);
        if ((next & 0xC0) != 0x80) {
            return malformed;
        }
        character = (character << 6) | (next & 0x3F);
    }
    return IsInRange(character, length) ? DecodedCharacter{character, length, true} : malformed;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const DecodedCharacter first = DecodeUtf8(text);
        if (!first.isWellFormed) {
            return false;
        }
        text.remove_prefix(first.length);
    }
    return true;
}

}  // namespace common
