#pragma once

#include <chrono>

// When the automatic updates run. All times are seconds of CLOCK_BOOTTIME, which goes on while the
// machine sleeps: a run that was missed meanwhile is due at once, and only once, and setting the
// clock moves nothing. Plain functions; any thread.

namespace rapidupdate {

using Seconds = std::chrono::seconds;

/// What came of the last time a run was due.
enum class Outcome {
    kDone,     ///< updated, or already up to date
    kFailed,   ///< no update: the machine may be behind
    kMetered,  ///< put off, the connection is paid by volume
    kOff,      ///< automatic updates are switched off
};

/// A machine that has just started has other things to do, and perhaps no network yet.
inline constexpr Seconds kAfterBoot{5 * 60};
/// Started later, the service waits this long: an installation of many packages goes on meanwhile.
inline constexpr Seconds kAfterStart{60};
inline constexpr Seconds kInterval{4 * 60 * 60};
/// After the first failure; it doubles with every further one, up to kInterval.
inline constexpr Seconds kFirstRetry{5 * 60};
/// How often it is looked whether the connection is still metered or the updates still off.
inline constexpr Seconds kLookAgain{10 * 60};

/// When the first run is due, for a service that starts at `now`. `random` is from 0 up to, not
/// including, 1, here and below: machines that start together do not ask together.
Seconds FirstRun(Seconds now, double random);

/// When the next run is due after one that ended at `now`. `failures` counts the failures in a row,
/// this one included. kInterval give or take a quarter; after failures sooner.
Seconds NextRun(Seconds now, Outcome outcome, unsigned int failures, double random);

}  // namespace rapidupdate
