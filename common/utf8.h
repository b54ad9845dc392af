#pragma once

#include <cstddef>
#include <string_view>

namespace common {

/// How many bytes the UTF-8 character has that begins with the byte `first`: 1 to 4; 0 when none
/// begins so, as with a continuation byte, and with those that would only begin an overlong form or
/// one above U+10FFFF. Whether the bytes that follow fit is not looked at. Any thread.
std::size_t AnnouncedUtf8Length(unsigned char first);

/// What stands at the start of a text.
struct DecodedCharacter {
    char32_t character;  ///< the byte itself when it is not well-formed
    std::size_t length;  ///< in bytes; 1 when it is not well-formed
    bool isWellFormed;   ///< neither overlong, cut off, a surrogate nor above U+10FFFF
};

/// Decodes the first character of `text`, which is not empty. Any thread.
DecodedCharacter DecodeUtf8(std::string_view text);

/// Whether all of `text` is well-formed; nothing is. Any thread.
bool IsUtf8(std::string_view text);

}  // namespace common
