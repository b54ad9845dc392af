#include "common/locks.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "common/regular_file.h"
#include "common/retrying.h"
#include "common/shared_file.h"

int g_fdlock = -1;

namespace {

// How often the lock file may be replaced under us before we give up.
constexpr int kMaxAttempts = 16;

struct flock FirstByte(short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 1;
    return lock;
}

// Lock and unlock have to name the same range, so both take it from here.
struct flock WholeFile(short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 0;
    return lock;
}

int LockWholeFile(int fd, short type, int command) {
    if (fd < 1) {  // 0 as well: no data file is ever standard input
        return -1;
    }
    struct flock lock = WholeFile(type);
    return common::Retrying([&] { return ::fcntl(fd, command, &lock); }) != 0 ? -1 : 0;
}

// Whether `path` still names the open file: whoever held the lock before deletes its file.
bool IsStillNamed(int fd, const char* path) {
    struct stat open {};
    struct stat named {};
    return ::fstat(fd, &open) == 0 && ::lstat(path, &named) == 0 && open.st_dev == named.st_dev &&
           open.st_ino == named.st_ino;
}

// A file that somebody has given a further name keeps its mode: it may be theirs by now.
void OpenToEveryUser(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) == 0 && status.st_nlink <= 1) {
        (void)::fchmod(fd, 0666);
    }
}

}  // namespace

bool Get_Lock(const char* path) {
    if (path == nullptr) {
        return false;
    }
    g_fdlock = -1;
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        common::FileDescriptor file = common::OpenSharedFile(path, O_WRONLY, 0666);
        if (!file) {
            return false;
        }
        struct flock lock = FirstByte(F_WRLCK);
        const bool locked = ::fcntl(file.Get(), F_SETLK, &lock) == 0;
        OpenToEveryUser(file.Get());
        if (!locked) {
            return false;
        }
        if (IsStillNamed(file.Get(), path)) {
            g_fdlock = file.Release();
            return true;
        }
    }
    return false;
}

void Release_Lock(const char* path) {
    // Deleted before the lock is let go: a process that takes the lock in between would lose the
    // file it has just locked.
    if (path != nullptr) {
        if (g_fdlock >= 0) {
            OpenToEveryUser(g_fdlock);
        } else {
            (void)common::SetFileMode(path, 0666, common::Links::kNone);
        }
        (void)::unlink(path);
    }
    if (g_fdlock >= 0) {
        ::close(std::exchange(g_fdlock, -1));
    }
}

ZQFileLock::ZQFileLock(const char* path) : m_lock(FirstByte(F_WRLCK)) {
    m_lock.l_pid = ::getpid();
    if (path != nullptr) {
        m_path = path;
    }
}

int ZQFileLock::AcquireLock() {
    if (m_fd >= 0) {
        return 0;
    }
    common::FileDescriptor file = common::OpenSharedFile(m_path.c_str(), O_RDWR, 0666);
    m_lock.l_type = F_WRLCK;
    if (!file || ::fcntl(file.Get(), F_SETLK, &m_lock) != 0) {
        return -1;
    }
    m_fd = file.Release();
    return 0;
}

int ZQFileLock::ReleaseLock() {
    if (m_fd >= 0) {
        m_lock.l_type = F_UNLCK;
        (void)::fcntl(m_fd, F_SETLK, &m_lock);
        ::close(std::exchange(m_fd, -1));
    }
    return 0;
}

int LockFileHandle(int fd) {
    return LockWholeFile(fd, F_WRLCK, F_SETLKW);
}

int UnlockFileHandle(int fd) {
    return LockWholeFile(fd, F_UNLCK, F_SETLK);
}

namespace common {

std::optional<pid_t> LockHolder(int fd) {
    struct flock lock = WholeFile(F_WRLCK);
    if (::fcntl(fd, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) {
        return std::nullopt;
    }
    // -1 of a lock that belongs to an open file, 0 of a process in another namespace.
    return std::max<pid_t>(lock.l_pid, kUnknownHolder);
}

}  // namespace common
