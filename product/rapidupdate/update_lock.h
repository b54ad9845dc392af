#pragma once

#include <sys/types.h>

#include "common/locks.h"

namespace rapidupdate {

/// The lock that keeps the window's update and this one apart. It says nothing about who may change
/// the definitions, for every user may take it. Main thread only.
class UpdateLock {
public:
    /// For the lock file `path`.
    explicit UpdateLock(const char* path) : m_path(path), m_lock(path) {}
    ~UpdateLock() { m_lock.ReleaseLock(); }
    UpdateLock(const UpdateLock&) = delete;
    UpdateLock& operator=(const UpdateLock&) = delete;

    /// Does not wait. Logs each new holder once.
    bool TryAcquire();

private:
    void LogHolder();

    const char* m_path;
    ZQFileLock m_lock;
    pid_t m_loggedHolder = -1;
};

}  // namespace rapidupdate
