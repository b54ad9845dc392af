#pragma once

#include <cstddef>
#include <cstdint>
#include <string.h>
#include <string_view>

namespace scanning {

/// The number of `width` bytes (at most 8) at `offset`, the lowest byte first. What lies past the
/// end of `text` counts as 0.
inline std::uint64_t LittleEndian(std::string_view text, std::size_t offset, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t i = width; i > 0; --i) {
        const std::size_t at = offset + i - 1;
        value = (value << 8U) | (at < text.size() ? static_cast<unsigned char>(text[at]) : 0U);
    }
    return value;
}

/// Where `what`, which is not empty, begins in `text` at `from` or later, or npos. Several times as
/// fast as find().
inline std::size_t FindBytes(std::string_view text, std::string_view what, std::size_t from) {
    if (from > text.size() || text.size() - from < what.size()) {
        return std::string_view::npos;
    }
    const void* found = memmem(text.data() + from, text.size() - from, what.data(), what.size());
    return found == nullptr
               ? std::string_view::npos
               : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

}  // namespace scanning
