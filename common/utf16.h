#pragma once

#include <string>
#include <string_view>

// File names are bytes; records hold them as UTF-16. A byte that is not part of well-formed UTF-8
// becomes the lone surrogate 0xDC00 + byte, so that the way back gives the very same bytes. Any
// thread.

namespace common {

/// `bytes` as UTF-16.
std::u16string Utf16FromBytes(std::string_view bytes);

/// `units` as bytes: the reverse. A lone surrogate that stands for no byte becomes the three bytes
/// that UTF-8 would have for it, which is no well-formed UTF-8 either.
std::string BytesFromUtf16(std::u16string_view units);

}  // namespace common
