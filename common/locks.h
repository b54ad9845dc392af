#pragma once

#include <fcntl.h>
#include <string>

/// Descriptor of the process's single named lock, -1 when none is held.
extern int g_fdlock;

/// Takes the process-wide named lock without waiting. A second call overwrites g_fdlock.
bool Get_Lock(const char* path);

/// Gives the named lock back and deletes its file.
void Release_Lock(const char* path);

/// A lock on the first byte of a file, between processes.
class ZQFileLock {
public:
    explicit ZQFileLock(const char* path);

    /// 0 when the lock was got, -1 when not. Does not wait.
    int AcquireLock();

    /// Always 0. The lock file stays. Not called by the destructor: the lock outlives the object.
    int ReleaseLock();

private:
    int m_fd = -1;
    struct flock m_lock {};
    std::string m_path;
};

/// Locks the whole open file, waiting until it is free. 0, or -1 (also for descriptors below 1).
int LockFileHandle(int fd);

/// Unlocks the whole open file. 0, or -1 (also for descriptors below 1).
int UnlockFileHandle(int fd);
