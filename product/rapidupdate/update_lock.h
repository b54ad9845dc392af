#pragma once

#include <string>

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

    /// Does not wait. Logs each new holder once, also one that cannot be told.
    bool TryAcquire();

private:
    void LogHolder();
    void LogOnce(int level, const std::string& text);

    const char* m_path;
    ZQFileLock m_lock;
    std::string m_logged;  ///< last
};

}  // namespace rapidupdate
