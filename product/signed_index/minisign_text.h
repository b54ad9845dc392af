#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The lines of minisign's files. Any thread.

namespace signed_index {

/// Cuts the first line off `text`, without its "\n" or "\r\n". The last one need not have one. None
/// at the end of the text.
std::optional<std::string_view> TakeLine(std::string_view& text);

/// Fills all of `bytes` from standard Base64. False for anything else and for another length.
bool DecodeBase64(std::string_view text, std::span<unsigned char> bytes);

/// `bytes` in standard Base64 with padding.
std::string EncodeBase64(std::span<const unsigned char> bytes);

}  // namespace signed_index
