#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace common {

/// Writes all of `bytes` to `fd`, through short writes and EINTR. False when it could not; errno
/// tells why, and what was written before stays written.
bool WriteAll(int fd, std::span<const std::byte> bytes);
bool WriteAll(int fd, std::string_view text);

/// Reads until `buffer` is full, the end of the file or an error.
/// Returns the number of bytes read, or -1 when the first failing read had read nothing at all.
std::ptrdiff_t ReadFull(int fd, std::span<std::byte> buffer);

/// The bytes of a trivially copyable record, to read into or write from.
template <typename Record>
std::span<std::byte> BytesOf(Record& record) {
    return std::as_writable_bytes(std::span<Record, 1>(&record, 1));
}
template <typename Record>
std::span<const std::byte> BytesOf(const Record& record) {
    return std::as_bytes(std::span<const Record, 1>(&record, 1));
}

}  // namespace common
