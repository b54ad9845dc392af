#pragma once

#include <cstddef>

/// How many bytes the UTF-8 character has that begins with the byte `first`: 1 to 4; 0 when none
/// begins so, as with a continuation byte, and with those that would only begin an overlong form or
/// one above U+10FFFF. Whether the bytes that follow fit is not looked at. Any thread.
std::size_t AnnouncedUtf8Length(unsigned char first);
