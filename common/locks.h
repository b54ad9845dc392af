#pragma once

#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/types.h>

// Locks between processes, three kinds. All are POSIX record locks: one process never shuts itself
// out, they are dropped when the process ends, and also when it closes *any* descriptor of the
// locked file.

/// Descriptor of the process's single named lock, -1 when none is held. Main thread only.
extern int g_fdlock;

/// Takes the process's one named lock without waiting: an exclusive lock on the first byte of the
/// file `path`, which is created when missing and has mode 0666 afterwards. Main thread only.
///
/// False when another process holds it, and for a null path or one that cannot be opened safely (a
/// link, a FIFO). g_fdlock is overwritten either way: an earlier lock stays held until the process
/// ends, for closing its descriptor might drop the new one.
bool Get_Lock(const char* path);

/// Gives the named lock back and deletes the file `path`, held or not. Its mode becomes 0666
/// before, for those who have it open or where it cannot be deleted, unless the file has further
/// names. Main thread only.
void Release_Lock(const char* path);

/// A lock on the first byte of a file, to guard data that several processes share. An object is for
/// one thread.
class ZQFileLock {
public:
    /// For the file `path`, which is created when the lock is first acquired. Nothing is opened
    /// yet.
    explicit ZQFileLock(const char* path);

    /// Releases nothing, on purpose: a held lock outlives the object.
    ~ZQFileLock() = default;

    ZQFileLock(const ZQFileLock&) = delete;
    ZQFileLock& operator=(const ZQFileLock&) = delete;

    /// Does not wait. 0 when the lock is held afterwards, -1 when not. The file has mode 0666,
    /// whatever the umask, when it is created here; links are not followed.
    int AcquireLock();

    /// Unlocks; always 0. The lock file stays.
    int ReleaseLock();

private:
    int m_fd = -1;
    struct flock m_lock {};
    std::string m_path;
};

/// Locks the whole open file, waiting until it is free. 0, or -1 on failure and for descriptors
/// below 1. `fd` is open for writing. Any thread, but threads of one process do not exclude each
/// other.
int LockFileHandle(int fd);

/// Unlocks the whole open file. 0, or -1 on failure and for descriptors below 1.
int UnlockFileHandle(int fd);

namespace common {

/// Of a lock that has a holder without a number of its own here: one that belongs to an open file,
/// or that a process of another PID namespace holds.
inline constexpr pid_t kUnknownHolder = 0;

/// The process that keeps another one from locking the open file for itself, wholly or in part;
/// kUnknownHolder when somebody does, but who cannot be told. None when nobody does, and when the
/// system cannot say. Of a descriptor open for reading at least; takes nothing. Any thread.
std::optional<pid_t> LockHolder(int fd);

}  // namespace common
