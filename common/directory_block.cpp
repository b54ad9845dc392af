#include "common/directory_block.h"

#include <cstring>
#include <dirent.h>
#include <sys/types.h>

void DirectoryBlock::Reset() {
    m_end = m_position = m_ahead = m_aheadCount = 0;
}

std::optional<DirectoryEntry> DirectoryBlock::Take(std::size_t& position) const {
    while (position < m_end) {
        // The kernel aligns every record, and the block is aligned.
        const auto* record = reinterpret_cast<const dirent64*>(m_bytes.data() + position);
        position += record->d_reclen;
        const char* name = static_cast<const char*>(record->d_name);
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) {
            continue;
        }
        return DirectoryEntry{std::string_view(name, std::strlen(name)), record->d_type};
    }
    return std::nullopt;
}

std::optional<DirectoryEntry> DirectoryBlock::Next(int directory) {
    for (;;) {
        const bool wasAhead = m_position < m_ahead;
        if (const auto entry = Take(m_position)) {
            if (wasAhead && m_aheadCount > 0) {
                --m_aheadCount;
            }
            return entry;
        }
        const ssize_t size = getdents64(directory, m_bytes.data(), m_bytes.size());
        Reset();
        if (size <= 0) {
            return std::nullopt;
        }
        m_end = static_cast<std::size_t>(size);
    }
}

std::optional<DirectoryEntry> DirectoryBlock::NextAhead() {
    if (m_ahead < m_position) {
        m_ahead = m_position;
        m_aheadCount = 0;
    }
    const auto entry = Take(m_ahead);
    if (entry) {
        ++m_aheadCount;
    }
    return entry;
}
