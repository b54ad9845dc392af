#include "common/regular_file.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "common/retrying.h"

namespace common {

namespace {

int OpenRetrying(int directory, const char* path, int flags, mode_t mode) {
    return common::Retrying(
        [&] { return ::openat(directory, path, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode); });
}

// Gives `file` back when it is a regular file, one with further names only if that is allowed.
common::FileDescriptor Checked(common::FileDescriptor file, Links links) {
    struct stat status {};
    if (file && (::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) ||
                 (links == Links::kNone && status.st_nlink > 1))) {
        file.Reset();
        errno = EPERM;
    }
    return file;
}

// Who else may write by an access control list shows, too: its mask stands in the group's bits.
bool OnlyRootWrites(int folder) {
    struct stat status {};
    return ::fstat(folder, &status) == 0 && status.st_uid == 0 &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// Held while the file is opened: the folder that was looked at is the one that is used.
common::FileDescriptor OpenByFolder(int directory, std::string_view path, int flags, mode_t mode) {
    const std::size_t slash = path.rfind('/');
    const bool hasFolder = slash != std::string_view::npos;
    const std::string folderPath(hasFolder ? path.substr(0, slash + 1) : ".");
    const std::string name(hasFolder ? path.substr(slash + 1) : path);
    const common::FileDescriptor folder(
        OpenRetrying(directory, folderPath.c_str(), O_PATH | O_DIRECTORY, 0));
    if (!folder) {
        return {};
    }
    const Links links = OnlyRootWrites(folder.Get()) ? Links::kFollow : Links::kNone;
    return OpenRegularFileAt(folder.Get(), name.c_str(), flags, links, mode);
}

}  // namespace

common::FileDescriptor OpenRegularFile(const char* path, int flags, Links links, mode_t mode) {
    return OpenRegularFileAt(AT_FDCWD, path, flags, links, mode);
}

common::FileDescriptor OpenRegularFileAt(int directory, const char* name, int flags, Links links,
                                         mode_t mode) {
    if (name == nullptr) {
        errno = EINVAL;
        return {};
    }
    if (links == Links::kOnlyOfRoot) {
        return OpenByFolder(directory, name, flags, mode);
    }
    const int noFollow = links == Links::kFollow ? 0 : O_NOFOLLOW;
    return Checked(common::FileDescriptor(OpenRetrying(directory, name, flags | noFollow, mode)),
                   links);
}

bool SetFileMode(const char* path, mode_t mode, Links links) {
    // A descriptor that opens nothing but the name: who may not read the file may own it all the
    // same. fchmod() takes none of these, its name below "/proc" does.
    const common::FileDescriptor file = OpenRegularFile(path, O_PATH, links);
    return file && ::chmod(("/proc/self/fd/" + std::to_string(file.Get())).c_str(), mode) == 0;
}

}  // namespace common
