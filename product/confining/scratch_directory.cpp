#include "product/confining/scratch_directory.h"

#include <array>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace confining {

namespace {

constexpr std::string_view kPrefix = "corvane-scan-";

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

common::FileDescriptor OpenOwnFolder(int parent, const char* name) {
    common::FileDescriptor folder(
        openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat state {};
    if (folder && (fstat(folder.Get(), &state) != 0 || state.st_uid != geteuid())) {
        folder.Reset();
    }
    return folder;
}

void RemoveTree(const std::string& path) {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

// A folder that nobody holds the lock of belongs to an engine that is no more.
void RemoveLeftovers(const std::string& parent) {
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(parent.c_str()));
    if (directory == nullptr) {
        return;
    }
    while (const dirent* entry = readdir(directory.get())) {
        if (!std::string_view(entry->d_name).starts_with(kPrefix)) {
            continue;
        }
        const common::FileDescriptor folder = OpenOwnFolder(dirfd(directory.get()), entry->d_name);
        if (folder && flock(folder.Get(), LOCK_EX | LOCK_NB) == 0) {
            RemoveTree(parent + '/' + entry->d_name);
        }
    }
}

}  // namespace

std::unique_ptr<ScratchDirectory> ScratchDirectory::Make(const std::string& wanted) {
    for (const std::string& parent : std::array<std::string, 3>{wanted, "/dev/shm", "/tmp"}) {
        if (parent.empty()) {
            continue;
        }
        RemoveLeftovers(parent);
        std::string path = parent + '/' + std::string(kPrefix) + "XXXXXX";
        if (mkdtemp(path.data()) == nullptr) {
            continue;
        }
        common::FileDescriptor lock = OpenOwnFolder(AT_FDCWD, path.c_str());
        // Between its making and its locking another engine may have taken it for a leftover.
        if (!lock || flock(lock.Get(), LOCK_EX | LOCK_NB) != 0 || access(path.c_str(), W_OK) != 0) {
            RemoveTree(path);
            continue;
        }
        return std::unique_ptr<ScratchDirectory>(
            new ScratchDirectory(std::move(path), std::move(lock)));
    }
    return nullptr;
}

ScratchDirectory::~ScratchDirectory() {
    RemoveTree(m_path);
}

}  // namespace confining
