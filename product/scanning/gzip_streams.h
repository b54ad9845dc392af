#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace scanning {

struct GzipStreams {
    std::size_t count = 0;     ///< streams that follow one another
    std::string_view problem;  ///< why not all of them could be read; empty if they were
};

/// Reads every stream of a gzip file and compares each with its check sum, which libclamav and
/// libarchive do not. What is not a stream after the last one is left out, as gzip does.
/// At most `room` bytes are unpacked, and taken off it. They are kept in `out` unless it is null.
GzipStreams ReadGzip(std::span<const std::byte> bytes, std::size_t& room,
                     std::vector<std::byte>* out);

}  // namespace scanning
