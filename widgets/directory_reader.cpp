#include "widgets/directory_reader.h"

#include <algorithm>
#include <dirent.h>

bool DirectoryReader::Next(DirectoryEntry& entry) {
    if (m_position == m_filled && !Fill()) {
        return false;
    }
    const auto* record = reinterpret_cast<const dirent64*>(m_buffer.data() + m_position);
    entry.name = record->d_name;
    entry.type = record->d_type;
    m_position += record->d_reclen;
    ++m_entriesRead;
    return true;
}

bool DirectoryReader::Fill() {
    m_position = 0;
    m_filled = 0;
    if (m_fd < 0) {
        return false;
    }
    const ssize_t bytes = ::getdents64(m_fd, m_buffer.data(), m_request);
    if (bytes <= 0) {
        m_fd = -1;
        return false;
    }
    m_request = std::min(m_request * 4, m_buffer.size());
    m_filled = static_cast<std::size_t>(bytes);
    return true;
}
