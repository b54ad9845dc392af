#include "common/directory_reader.h"

#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace common {

mode_t TypeOf(int directory, const DirectoryEntry& entry) {
    if (entry.type != DT_UNKNOWN) {
        return static_cast<mode_t>(DTTOIF(entry.type));
    }
    struct stat status {};
    const bool known = ::fstatat(directory, entry.name.data(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    return known ? status.st_mode & S_IFMT : 0;
}

void DirectoryReader::Start(int directory, Want want) {
    m_directory = directory;
    m_request = want == Want::kAll ? kSize : kFirstFew;
    m_end = m_position = 0;
    m_offset = 0;
    m_entriesRead = 0;
}

bool DirectoryReader::Fill() {
    m_end = m_position = 0;
    if (m_directory < 0) {
        return false;
    }
    const ssize_t size = ::getdents64(m_directory, m_bytes.data(), m_request);
    if (size <= 0) {
        m_directory = -1;
        return false;
    }
    m_request = std::min(m_request * 4, kSize);
    m_end = static_cast<std::size_t>(size);
    return true;
}

std::optional<DirectoryEntry> DirectoryReader::Take() {
    while (m_position < m_end) {
        // The kernel aligns every record, and the block is aligned.
        const auto* record = reinterpret_cast<const dirent64*>(m_bytes.data() + m_position);
        m_position += record->d_reclen;
        m_offset = record->d_off;
        const char* name = static_cast<const char*>(record->d_name);
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) {
            continue;
        }
        return DirectoryEntry{std::string_view(name, std::strlen(name)), record->d_type};
    }
    return std::nullopt;
}

std::optional<DirectoryEntry> DirectoryReader::Next() {
    do {
        if (const auto entry = Take()) {
            ++m_entriesRead;
            return entry;
        }
    } while (Fill());
    return std::nullopt;
}

}  // namespace common
