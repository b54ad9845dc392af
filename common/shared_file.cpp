#include "common/shared_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

// How often the file may vanish and come back between two attempts before we give up.
constexpr int kMaxAttempts = 16;

int OpenRetrying(const char* path, int flags, mode_t mode) {
    int fd = -1;
    do {
        fd = ::open(path, flags, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// The flags with which nothing is opened that was laid there, and nothing is waited for.
constexpr int kCarefulFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

// Gives `file` back when it is a regular file of one name only.
FileDescriptor Checked(FileDescriptor file) {
    struct stat status {};
    if (file &&
        (::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink > 1)) {
        file.Reset();
        errno = EPERM;
    }
    return file;
}

}  // namespace

FileDescriptor OpenSharedFile(const char* path, int flags, mode_t mode) {
    if (path == nullptr) {
        errno = EINVAL;
        return {};
    }
    flags |= kCarefulFlags;
    FileDescriptor file;
    for (int attempt = 0; attempt < kMaxAttempts && !file; ++attempt) {
        file.Reset(OpenRetrying(path, flags, 0));
        if (file || errno != ENOENT) {
            break;
        }
        file.Reset(OpenRetrying(path, flags | O_CREAT | O_EXCL, mode));
        if (!file && errno != EEXIST) {
            break;
        }
    }
    return Checked(std::move(file));
}

FileDescriptor OpenExistingSharedFile(const char* path, int flags) {
    if (path == nullptr) {
        errno = EINVAL;
        return {};
    }
    return Checked(FileDescriptor(OpenRetrying(path, flags | kCarefulFlags, 0)));
}
