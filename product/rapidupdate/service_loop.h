#pragma once

#include <functional>

#include "product/rapidupdate/planner.h"

namespace rapidupdate {

/// What the service has around it, so that a test can put its own clock and world there.
class Surroundings {
public:
    Surroundings() = default;
    virtual ~Surroundings() = default;
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

    /// Seconds since the machine was started, those it slept included.
    virtual Seconds Now() = 0;
    /// Waits until Now() is `due` or later. False when the service is to end.
    virtual bool WaitUntil(Seconds due) = 0;
    /// From 0 up to, not including, 1.
    virtual double Random() = 0;
    virtual bool AreUpdatesOn() = 0;
    virtual bool IsMetered() = 0;
    /// One update from beginning to end, its report included: kDone or kFailed. Returns early when
    /// the service is to end.
    virtual Outcome Update() = 0;
    virtual void Log(const char* message) = 0;
};

/// Runs the automatic updates until the service is to end. `firstRun` is when the first is due.
void RunService(Surroundings& surroundings, Seconds firstRun);

/// How long somebody else's update is waited for.
inline constexpr Seconds kLockLimit{30 * 60};
inline constexpr Seconds kLockPause{5};

/// Calls `tryLock` until it is true, at most kLockLimit: everybody may take that lock, and who
/// keeps it must not keep the machine from its updates. False when the service is to end; true
/// otherwise, with the lock or without.
bool WaitForLock(Surroundings& surroundings, const std::function<bool()>& tryLock);

}  // namespace rapidupdate
