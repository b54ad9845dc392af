#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

/// One entry of a directory. `name` is terminated and lives in the block.
struct DirectoryEntry {
    std::string_view name;
    unsigned char type;  ///< DT_…, DT_UNKNOWN where the file system does not tell
};

/// The entries of an open directory, block by block as the kernel hands them out. The names stay
/// where they were written, so one may look ahead within a block without copying them.
class DirectoryBlock {
public:
    /// Forgets what was read: the next entry comes from a descriptor.
    void Reset();

    /// The next entry but "." and "..", none at the end or on an error. It is valid until the call
    /// after it.
    std::optional<DirectoryEntry> Next(int directory);

    /// Looks ahead: the next entry that neither Next() nor this has given, none at the end of what
    /// was read so far.
    std::optional<DirectoryEntry> NextAhead();

    /// How many entries that were looked at ahead are still to come from Next().
    [[nodiscard]] std::size_t AheadCount() const { return m_aheadCount; }

private:
    static constexpr std::size_t kSize = std::size_t{32} * 1024;

    std::optional<DirectoryEntry> Take(std::size_t& position) const;

    alignas(8) std::array<char, kSize> m_bytes{};
    std::size_t m_end = 0;
    std::size_t m_position = 0;  // of Next()
    std::size_t m_ahead = 0;     // of NextAhead()
    std::size_t m_aheadCount = 0;
};
