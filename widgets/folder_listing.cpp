#include "widgets/folder_listing.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "common/file_descriptor.h"
#include "widgets/directory_reader.h"

namespace {

// O_NONBLOCK: a name that is a pipe by the time it is opened must not hold up the window.
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

// Component by component: the path may be longer than the system takes in one call, and no
// component that has become a link since it was shown is followed.
FileDescriptor OpenFolder(const std::string& rootDirectory, std::string_view path) {
    FileDescriptor folder(::open(rootDirectory.c_str(), kOpenFolder));
    std::size_t position = 0;
    while (folder && position < path.size()) {
        const std::size_t end = std::min(path.find('/', position), path.size());
        if (end > position) {
            const std::string component(path.substr(position, end - position));
            folder.Reset(::openat(folder.Get(), component.c_str(), kOpenFolder | O_NOFOLLOW));
        }
        position = end + 1;
    }
    return folder;
}

mode_t TypeOf(int folder, const DirectoryEntry& entry, int flags) {
    struct stat status {};
    const bool known = ::fstatat(folder, entry.name, &status, flags) == 0;
    return known ? status.st_mode & S_IFMT : 0;
}

// The file system's own word for the entry's type where it gives one, and a look where not.
mode_t OwnTypeOf(int folder, const DirectoryEntry& entry) {
    if (entry.type == DT_UNKNOWN) {
        return TypeOf(folder, entry, AT_SYMLINK_NOFOLLOW);
    }
    return static_cast<mode_t>(DTTOIF(entry.type));
}

enum class FolderKind { kNone, kFolder, kLinkToFolder };

FolderKind KindOf(int folder, const DirectoryEntry& entry) {
    switch (OwnTypeOf(folder, entry)) {
        case S_IFDIR:
            return FolderKind::kFolder;
        case S_IFLNK:
            return TypeOf(folder, entry, 0) == S_IFDIR ? FolderKind::kLinkToFolder
                                                       : FolderKind::kNone;
        default:
            return FolderKind::kNone;
    }
}

bool HasSubfolders(int parent, const std::string& name, std::uint64_t& entriesRead) {
    const FileDescriptor folder(::openat(parent, name.c_str(), kOpenFolder | O_NOFOLLOW));
    DirectoryReader reader(folder.Get());
    DirectoryEntry entry;
    bool found = false;
    while (!found && reader.Next(entry)) {
        found = !entry.IsDotOrDotDot() && KindOf(folder.Get(), entry) != FolderKind::kNone;
    }
    entriesRead += reader.EntriesRead();
    return found;
}

}  // namespace

FolderListing::FolderListing(std::string rootDirectory)
    : m_rootDirectory(std::move(rootDirectory)) {}

SubfolderList FolderListing::ListSubfolders(std::string_view path) const {
    SubfolderList list;
    const FileDescriptor folder = OpenFolder(m_rootDirectory, path);
    DirectoryReader reader(folder.Get());
    DirectoryEntry entry;
    while (reader.Next(entry)) {
        if (entry.IsDotOrDotDot()) {
            continue;
        }
        const FolderKind kind = KindOf(folder.Get(), entry);
        list.hasEntries = list.hasEntries || kind != FolderKind::kNone;
        if (kind == FolderKind::kFolder) {
            list.subfolders.push_back({.name = entry.name});
        }
    }
    list.entriesRead = reader.EntriesRead();

    std::sort(list.subfolders.begin(), list.subfolders.end(),
              [](const Subfolder& a, const Subfolder& b) { return a.name < b.name; });
    for (Subfolder& subfolder : list.subfolders) {
        subfolder.hasSubfolders = HasSubfolders(folder.Get(), subfolder.name, list.entriesRead);
    }
    return list;
}

bool FolderListing::HoldsFileOrLink(std::string_view path) const {
    const FileDescriptor folder = OpenFolder(m_rootDirectory, path);
    DirectoryReader reader(folder.Get());
    DirectoryEntry entry;
    while (reader.Next(entry)) {
        if (entry.IsHidden()) {
            continue;
        }
        const mode_t type = OwnTypeOf(folder.Get(), entry);
        if (type == S_IFREG || type == S_IFLNK) {
            return true;
        }
    }
    return false;
}
