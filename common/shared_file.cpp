#include "common/shared_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

}  // namespace

FileDescriptor OpenSharedFile(const char* path, int flags, mode_t mode) {
    if (path == nullptr) {
        errno = EINVAL;
        return {};
    }
    flags |= O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
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
    if (!file) {
        return {};
    }
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink > 1) {
        errno = EPERM;
        return {};
    }
    return file;
}
