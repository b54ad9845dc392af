#include "product/rapidupdate/service_loop.h"

#include <optional>

namespace rapidupdate {

namespace {

Outcome RunIfWanted(Surroundings& surroundings) {
    if (!surroundings.AreUpdatesOn()) {
        return Outcome::kOff;
    }
    return surroundings.IsMetered() ? Outcome::kMetered : surroundings.Update();
}

/// Once for each time it begins, not every time it is looked at.
void LogWhy(Surroundings& surroundings, Outcome outcome) {
    if (outcome == Outcome::kMetered) {
        surroundings.Log("the update is put off: the connection is metered");
    } else if (outcome == Outcome::kOff) {
        surroundings.Log("automatic updates are switched off");
    }
}

}  // namespace

void RunService(Surroundings& surroundings, Seconds firstRun) {
    Seconds due = firstRun;
    std::optional<Outcome> last;
    unsigned int failures = 0;
    while (surroundings.WaitUntil(due)) {
        const Outcome outcome = RunIfWanted(surroundings);
        if (outcome != last) {
            LogWhy(surroundings, outcome);
        }
        if (outcome == Outcome::kDone) {
            failures = 0;
        } else if (outcome == Outcome::kFailed) {
            ++failures;
        }
        last = outcome;
        due = NextRun(surroundings.Now(), outcome, failures, surroundings.Random());
    }
}

bool WaitForLock(Surroundings& surroundings, const std::function<bool()>& tryLock) {
    const Seconds end = surroundings.Now() + kLockLimit;
    while (!tryLock()) {
        if (surroundings.Now() >= end) {
            surroundings.Log("the other update has taken half an hour; going on beside it");
            return true;
        }
        if (!surroundings.WaitUntil(surroundings.Now() + kLockPause)) {
            return false;
        }
    }
    return true;
}

}  // namespace rapidupdate
