#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// One entry of a directory. Valid until the reader is asked for the next one.
struct DirectoryEntry {
    const char* name = "";
    unsigned char type =
        0;  ///< a DT_ value of <dirent.h>, DT_UNKNOWN where the file system is silent

    [[nodiscard]] bool IsHidden() const { return name[0] == '.'; }
    [[nodiscard]] bool IsDotOrDotDot() const {
        return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
    }
};

/// Reads the entries of an open directory in the order of the file system, "." and ".." included.
///
/// readdir() has the kernel fill 32 KB before it hands out the first entry. Whoever often stops
/// after a few entries pays for a thousand; this reader asks for little first and for more as it
/// goes on.
class DirectoryReader {
public:
    /// Reads from `fd`, which stays the caller's and must outlive the reader. A descriptor that is
    /// not open reads as an empty directory.
    explicit DirectoryReader(int fd) : m_fd(fd) {}

    /// Puts the next entry into `entry`. False at the end and on an error, which end the reading.
    bool Next(DirectoryEntry& entry);

    /// How many entries were handed out so far.
    [[nodiscard]] std::uint64_t EntriesRead() const { return m_entriesRead; }

private:
    bool Fill();

    static constexpr std::size_t kFirstRequest = 1024;  // more than the longest record

    int m_fd;
    std::size_t m_request = kFirstRequest;
    std::size_t m_position = 0;
    std::size_t m_filled = 0;
    std::uint64_t m_entriesRead = 0;
    alignas(std::uint64_t) std::array<char, std::size_t{16} * 1024> m_buffer;
};
