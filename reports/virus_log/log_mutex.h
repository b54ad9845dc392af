#pragma once

#include "common/named_mutex.h"

// The mutexes of the virus log, taken in this order, but where a record is added: see there.

namespace virus_log {

inline constexpr char kMainFileMutex[] = "10022";  ///< guards "VirMain.dat"
inline constexpr char kRecordMutex[] = "10011";    ///< guards the record files

// How long they are waited for, in seconds.
inline constexpr int kMainFileWait = 10;
inline constexpr int kAddWait = 5;
inline constexpr int kResetWait = 10;

/// Holds a named mutex for as long as it lives, if it could be taken.
class LogMutex {
public:
    /// Waits up to `seconds` for the mutex.
    LogMutex(const char* key, int seconds)
        : m_isHeld(GetMutexOwnerShip(key, &m_mutex, seconds) != 0) {}
    ~LogMutex() { Release(); }
    LogMutex(const LogMutex&) = delete;
    LogMutex& operator=(const LogMutex&) = delete;

    [[nodiscard]] bool IsHeld() const { return m_isHeld; }

    void Release() {
        if (m_isHeld) {
            (void)ReleaseMutexOwnerShip(&m_mutex);
            m_isHeld = false;
        }
    }

private:
    tagMUTEX_INFO m_mutex{};
    bool m_isHeld;
};

}  // namespace virus_log
