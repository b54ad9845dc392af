#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "reports/virus_log/virus_record.h"

// Where the records of a record file lie. The file is not trusted: everybody may write it.

namespace virus_log {

/// Reads a file through a window, since records are small and stand one after the other.
class WindowedFile {
public:
    /// `fd` stays the caller's; nothing is read from `end`, in bytes, on.
    WindowedFile(int fd, std::uint64_t end) : m_fd(fd), m_end(end) {}

    /// The bytes at `offset`, valid until the next call; empty when they are not all there.
    std::span<const std::byte> At(std::uint64_t offset, std::uint64_t length);

    /// The fixed part of a record that lies at `offset` as a whole and can be one.
    std::optional<tagVIRRECORD> RecordAt(std::uint64_t offset);

    [[nodiscard]] std::uint64_t End() const { return m_end; }

private:
    int m_fd;
    std::uint64_t m_end;
    std::uint64_t m_start = 0;
    std::vector<std::byte> m_window;
};

/// Where the records lie, behind the head and one after the other by their lengths. None unless the
/// last one ends exactly where the file does. Any thread.
std::optional<std::vector<std::uint64_t>> WalkByLengths(WindowedFile& file);

}  // namespace virus_log
