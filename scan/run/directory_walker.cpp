#include "scan/run/directory_walker.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

#include "common/text_field.h"
#include "scan/run/file_type.h"

namespace {

// Without waiting: a FIFO or a device may stand where a directory was a moment ago.
constexpr int kOpenDirectory = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

/// Whether the entries of a directory can be looked at. One that may only be listed tells their
/// types, but nothing in it can be opened.
bool IsSearchable(int directory) {
    struct stat status {};
    return ::fstatat(directory, ".", &status, 0) == 0;
}

ZqFileType TypeToWalk(int directory, bool isSearchable, const common::DirectoryEntry& entry) {
    const mode_t type = isSearchable ? common::TypeOf(directory, entry) : 0;
    return type == 0 ? kTypeSkip : scan::FileTypeOfMode(type);
}

}  // namespace

void scan::WalkVisitor::LookAhead(int /*directory*/, common::DirectoryReader& /*reader*/) {}

WalkResult scan::DirectoryWalker::Walk(const char* directory) {
    if (directory == nullptr || !common::CopyToField(m_path, directory)) {
        return kWalkUnreadable;
    }
    const common::FileDescriptor top(::open(directory, kOpenDirectory));
    return top ? WalkLevel(top, std::strlen(directory), 0) : kWalkUnreadable;
}

WalkResult scan::DirectoryWalker::WalkLevel(const common::FileDescriptor& directory,
                                            std::size_t length, std::size_t depth) {
    if (m_readers.size() == depth) {
        m_readers.push_back(std::make_unique<common::DirectoryReader>());
    }
    common::DirectoryReader& reader = *m_readers[depth];
    reader.Start(directory.Get(), common::DirectoryReader::Want::kAll);
    const bool isSearchable = IsSearchable(directory.Get());
    while (m_visitor.GoOn(m_path.data())) {
        const auto entry = reader.Next();
        if (!entry) {
            return kWalkDone;
        }
        const ZqFileType type = TypeToWalk(directory.Get(), isSearchable, *entry);
        if (type == kTypeSkip) {
            continue;
        }
        const std::size_t entryLength = Join(length, entry->name);
        if (entryLength == 0) {
            continue;  // a cut path would be another file
        }
        bool goOn = true;
        if (type == kTypeRegular) {
            m_visitor.LookAhead(directory.Get(), reader);
            m_visitor.OnFile(m_path.data());
            m_path[length] = '\0';
            goOn = m_visitor.GoOn(m_path.data());
        } else {
            const common::FileDescriptor below(
                ::openat(directory.Get(), entry->name.data(), kOpenDirectory | O_NOFOLLOW));
            goOn = !below || WalkLevel(below, entryLength, depth + 1) != kWalkStopped;
            m_path[length] = '\0';
        }
        if (!goOn) {
            return kWalkStopped;
        }
    }
    return kWalkStopped;
}

std::size_t scan::DirectoryWalker::Join(std::size_t length, std::string_view name) {
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
