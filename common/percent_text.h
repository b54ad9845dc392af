#pragma once

#include <optional>
#include <string>
#include <string_view>

// How any text stands in one line of plain ASCII: "%" and two hexadecimal digits for each byte that
// is no printable ASCII character, and for "%" itself. Any thread.

namespace common {

std::string PercentEncoded(std::string_view text);

/// The longest beginning of `text` whose encoding is at most `limit` bytes, encoded. A character in
/// UTF-8 may be cut in two.
std::string PercentEncodedWithin(std::string_view text, std::size_t limit);

/// The way back. None for what the encoder never writes: a byte that had to be encoded and is not,
/// "%" without two hexadecimal digits, and a zero byte, which no text of C can hold.
std::optional<std::string> PercentDecoded(std::string_view encoded);

}  // namespace common
