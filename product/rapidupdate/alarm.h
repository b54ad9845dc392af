#pragma once

#include <csignal>

#include "common/file_descriptor.h"
#include "product/rapidupdate/planner.h"

namespace rapidupdate {

/// Waits for a time or for the end of the service, whichever comes first. While it lives, SIGTERM
/// and SIGINT end nothing but its waits.
///
/// For the main thread, before others are started.
class Alarm {
public:
    Alarm();
    ~Alarm();
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    /// False, with errno set, when the machine had no descriptor left for it.
    [[nodiscard]] bool IsReady() const { return m_timer.IsOpen() && m_end.IsOpen(); }

    /// Waits until Now() is `due` or later; a machine that wakes up past it counts. False when the
    /// service is to end, at once when it was told so before.
    [[nodiscard]] bool WaitUntil(Seconds due) const;

    /// Becomes readable when the service is to end, and stays so.
    [[nodiscard]] int EndDescriptor() const { return m_end.Get(); }

    /// Seconds since the machine was started, those it slept included.
    static Seconds Now();

private:
    common::FileDescriptor m_timer;
    common::FileDescriptor m_end;
    sigset_t m_oldMask{};
};

}  // namespace rapidupdate
