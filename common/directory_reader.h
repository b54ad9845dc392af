#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <sys/types.h>

namespace common {

/// One entry of a directory. `name` is terminated and lives in the reader.
struct DirectoryEntry {
    std::string_view name;
    unsigned char type;  ///< DT_… of <dirent.h>, DT_UNKNOWN where the file system does not tell

    [[nodiscard]] bool IsHidden() const { return name.starts_with('.'); }
};

/// What an entry of the open directory `directory` is, links not followed: S_IFREG and its like, by
/// the file system's word where it gives one, and by a look at the entry where not. 0 when it is
/// gone by then. Any thread.
mode_t TypeOf(int directory, const DirectoryEntry& entry);

/// Reads the entries of an open directory in the order of the file system, block by block as the
/// kernel hands them out. The names stay where they were written. An object is for one thread.
class DirectoryReader {
public:
    /// How much is asked for at first. Whoever often stops after a few entries would pay for a
    /// thousand if the first block were a whole one.
    enum class Want { kAll, kFirstFew };

    /// Forgets what was read and reads the open directory `directory`, which stays the caller's. A
    /// descriptor that is not open reads as an empty directory.
    void Start(int directory, Want want);

    /// The next entry but "." and "..". None at the end and on an error, which end the reading. It
    /// is valid until the call after it.
    std::optional<DirectoryEntry> Next();

    /// Where the next entry is found by another reader of the same directory, once its descriptor
    /// was set there by lseek().
    [[nodiscard]] off_t Offset() const { return m_offset; }

    /// How many entries Next() has given since the start.
    [[nodiscard]] std::uint64_t EntriesRead() const { return m_entriesRead; }

private:
    static constexpr std::size_t kSize = std::size_t{32} * 1024;
    static constexpr std::size_t kFirstFew = 1024;  // bytes; more than the longest record

    bool Fill();
    std::optional<DirectoryEntry> Take();

    int m_directory = -1;
    std::size_t m_request = kSize;
    std::size_t m_end = 0;
    std::size_t m_position = 0;
    off_t m_offset = 0;
    std::uint64_t m_entriesRead = 0;
    alignas(8) std::array<char, kSize> m_bytes;  // only what was read: not cleared for each folder
};

}  // namespace common
