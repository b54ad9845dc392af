#include "widgets/folder_listing.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

#include "common/directory_reader.h"
#include "common/file_descriptor.h"

namespace {

// O_NONBLOCK: a name that is a pipe by the time it is opened must not hold up the window.
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

// Component by component: the path may be longer than the system takes in one call, and no
// component that has become a link since it was shown is followed.
common::FileDescriptor OpenFolder(const std::string& rootDirectory, std::string_view path) {
    common::FileDescriptor folder(::open(rootDirectory.c_str(), kOpenFolder));
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

using common::DirectoryEntry;
using common::DirectoryReader;

bool LeadsToFolder(int folder, const DirectoryEntry& link) {
    struct stat status {};
    return ::fstatat(folder, link.name.data(), &status, 0) == 0 && S_ISDIR(status.st_mode);
}

enum class FolderKind { kNone, kFolder, kLinkToFolder };

FolderKind KindOf(int folder, const DirectoryEntry& entry) {
    switch (common::TypeOf(folder, entry)) {
        case S_IFDIR:
            return FolderKind::kFolder;
        case S_IFLNK:
            return LeadsToFolder(folder, entry) ? FolderKind::kLinkToFolder : FolderKind::kNone;
        default:
            return FolderKind::kNone;
    }
}

bool HasSubfolders(int parent, const std::string& name, std::uint64_t& entriesRead) {
    const common::FileDescriptor folder(::openat(parent, name.c_str(), kOpenFolder | O_NOFOLLOW));
    DirectoryReader reader;
    reader.Start(folder.Get(), DirectoryReader::Want::kFirstFew);
    bool found = false;
    while (!found) {
        const auto entry = reader.Next();
        if (!entry) {
            break;
        }
        found = KindOf(folder.Get(), *entry) != FolderKind::kNone;
    }
    entriesRead += reader.EntriesRead();
    return found;
}

}  // namespace

FolderListing::FolderListing(std::string rootDirectory)
    : m_rootDirectory(std::move(rootDirectory)) {}

SubfolderList FolderListing::ListSubfolders(std::string_view path) const {
    SubfolderList list;
    const common::FileDescriptor folder = OpenFolder(m_rootDirectory, path);
    DirectoryReader reader;
    reader.Start(folder.Get(), DirectoryReader::Want::kAll);
    while (const auto entry = reader.Next()) {
        const FolderKind kind = KindOf(folder.Get(), *entry);
        list.hasEntries = list.hasEntries || kind != FolderKind::kNone;
        if (kind == FolderKind::kFolder) {
            list.subfolders.push_back({.name = std::string(entry->name)});
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
    const common::FileDescriptor folder = OpenFolder(m_rootDirectory, path);
    DirectoryReader reader;
    reader.Start(folder.Get(), DirectoryReader::Want::kFirstFew);
    while (const auto entry = reader.Next()) {
        if (entry->IsHidden()) {
            continue;
        }
        const mode_t type = common::TypeOf(folder.Get(), *entry);
        if (type == S_IFREG || type == S_IFLNK) {
            return true;
        }
    }
    return false;
}
