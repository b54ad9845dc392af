#pragma once

#include <cstddef>
#include <string_view>

/// What stands at the start of a text.
struct DecodedCharacter {
    char32_t character;  ///< the byte itself when it is not well-formed
    std::size_t length;  ///< in bytes; 1 when it is not well-formed
    bool isWellFormed;   ///< neither overlong, cut off, a surrogate nor above U+10FFFF
};

/// Decodes the first character of `text`, which is not empty. Any thread.
DecodedCharacter DecodeUtf8(std::string_view text);
