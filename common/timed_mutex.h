#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace common {

/// A mutex that can be waited for for a limited time. It meets the C++ requirements of a
/// TimedLockable but for try_lock_until(). Unlike std::timed_mutex it is seen by the thread
/// sanitizer of g++ 12, which does not know pthread_mutex_clocklock(). Not recursive. Any thread.
class TimedMutex {
public:
    void lock() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_isHeld; });
        m_isHeld = true;
    }
    bool try_lock() {
        const std::scoped_lock lock(m_mutex);
        return !std::exchange(m_isHeld, true);
    }
    /// False when it is still held after `patience`.
    bool try_lock_for(std::chrono::milliseconds patience) {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, patience, [this] { return !m_isHeld; })) {
            return false;
        }
        m_isHeld = true;
        return true;
    }
    void unlock() {
        {
            const std::scoped_lock lock(m_mutex);
            m_isHeld = false;
        }
        m_changed.notify_one();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isHeld = false;
};

}  // namespace common
