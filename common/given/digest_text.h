#pragma once

#include <cstddef>

inline constexpr std::size_t kDigestSize = 16;

// A 16-byte digest as 32 hexadecimal digits. Any thread.

/// Clears `buffer` of `size` bytes and writes the digest into it as 32 upper-case digits,
/// terminated. 0 for a null argument or a size below 35, which callers' buffers always have.
int GetMD5StringCmn(const unsigned char* digest, char* buffer, std::size_t size);

/// Turns pairs of digits of `text` into bytes, at most `outputSize` of them, and puts a zero byte
/// after the last when `output` has room for it. 0 for a null argument or unless `textLength` is
/// even and at least 32. Characters that are no digits give meaningless bytes, without error.
int GetMD5FromString(const char* text, std::size_t textLength, unsigned char* output,
                     std::size_t outputSize);
