#include "scan/run/tree_cursor.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "common/text_field.h"
#include "scan/run/file_type.h"

namespace scan {

namespace {

// Without waiting: a FIFO or a device may stand where a directory was a moment ago.
constexpr int kOpenDirectory = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

/// Whether the entries of a directory can be looked at. One that may only be listed tells their
/// types, but nothing in it can be opened.
bool IsSearchable(int directory) {
    struct stat status {};
    return ::fstatat(directory, ".", &status, 0) == 0;
}

/// Whether a directory that could not be opened has gone, or was none, rather than kept its
/// contents back. A socket has the bit of a directory.
bool IsNoDirectoryAnyMore(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENXIO;
}

ZqFileType TypeToWalk(int directory, bool isSearchable, const common::DirectoryEntry& entry) {
    const mode_t type = isSearchable ? common::TypeOf(directory, entry) : 0;
    return type == 0 ? kTypeSkip : FileTypeOfMode(type);
}

}  // namespace

bool TreeCursor::Start(const char* directory) {
    while (m_depth > 0) {
        Pop();
    }
    if (directory == nullptr || !common::CopyToField(m_path, directory)) {
        m_error = ENAMETOOLONG;
        return false;
    }
    common::FileDescriptor top(::open(directory, kOpenDirectory));
    if (!top) {
        m_error = errno;
        return false;
    }
    Push(std::move(top), std::strlen(directory));
    return true;
}

void TreeCursor::StartAt(const TreeCursor& other) {
    while (m_depth > 0) {
        Pop();
    }
    m_path = other.m_path;
    while (m_depth < std::min(other.m_depth, m_mostLevels)) {
        const Level& level = other.m_levels[m_depth];
        // Opened anew: a duplicate would share the other's place in the directory.
        common::FileDescriptor folder(::openat(level.folder->Get(), ".", kOpenDirectory));
        if (!folder || ::lseek(folder.Get(), level.reader->Offset(), SEEK_SET) < 0) {
            return;
        }
        Push(std::move(folder), level.length);
    }
}

void TreeCursor::Push(common::FileDescriptor folder, std::size_t length) {
    if (m_levels.size() == m_depth) {
        m_levels.emplace_back().reader = std::make_unique<common::DirectoryReader>();
    }
    Level& level = m_levels[m_depth++];
    level.folder = std::make_shared<const common::FileDescriptor>(std::move(folder));
    level.length = length;
    level.isSearchable = IsSearchable(level.folder->Get());
    level.reader->Start(level.folder->Get(), common::DirectoryReader::Want::kAll);
}

void TreeCursor::Pop() {
    m_levels[--m_depth].folder.reset();
}

const char* TreeCursor::Directory() {
    m_path[m_levels[m_depth - 1].length] = '\0';
    return m_path.data();
}

TreeCursor::Step TreeCursor::Advance() {
    if (m_depth == 0) {
        return Step::kEnd;
    }
    const Level& level = m_levels[m_depth - 1];
    const int folder = level.folder->Get();
    const auto entry = level.reader->Next();
    if (!entry) {
        Pop();
        return m_depth == 0 ? Step::kEnd : Step::kOther;
    }
    const ZqFileType type = TypeToWalk(folder, level.isSearchable, *entry);
    if (type == kTypeSkip) {
        return Step::kOther;
    }
    const std::size_t length = Join(level.length, entry->name);
    if (length == 0) {
        (void)Directory();  // a cut path would be another file
        return Unread(ENAMETOOLONG);
    }
    if (m_filter != nullptr && m_filter->LeavesOut(m_path.data())) {
        return Step::kOther;
    }
    if (type == kTypeRegular) {
        m_name = length - entry->name.size();
        return Step::kFile;
    }
    return m_depth < m_mostLevels ? GoDown(folder, entry->name.data(), length) : Step::kOther;
}

TreeCursor::Step TreeCursor::GoDown(int folder, const char* name, std::size_t length) {
    common::FileDescriptor below(::openat(folder, name, kOpenDirectory | O_NOFOLLOW));
    if (!below) {
        const int error = errno;
        return IsNoDirectoryAnyMore(error) ? Step::kOther : Unread(error);
    }
    Push(std::move(below), length);
    return m_levels[m_depth - 1].isSearchable ? Step::kOther : Unread(EACCES);
}

TreeCursor::Step TreeCursor::Unread(int error) {
    m_error = error;
    return Step::kUnread;
}

std::size_t TreeCursor::Join(std::size_t length, std::string_view name) {
    std::size_t end = length;
    const bool needsSlash = length == 0 || m_path[length - 1] != '/';
    if (length + (needsSlash ? 1 : 0) + name.size() >= m_path.size()) {
        return 0;
    }
    if (needsSlash) {
        m_path[end++] = '/';
    }
    std::memcpy(m_path.data() + end, name.data(), name.size());
    end += name.size();
    m_path[end] = '\0';
    return end;
}

}  // namespace scan
