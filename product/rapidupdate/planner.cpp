#include "product/rapidupdate/planner.h"

#include <algorithm>

namespace rapidupdate {

namespace {

Seconds Share(Seconds time, double share) {
    return std::chrono::duration_cast<Seconds>(time * share);
}

/// A quarter less up to a quarter more.
Seconds AboutInterval(double random) {
    return kInterval + Share(kInterval, (random - 0.5) / 2);
}

Seconds Retry(unsigned int failures, double random) {
    Seconds pause = kFirstRetry;
    for (unsigned int i = 1; i < failures && pause < kInterval; ++i) {
        pause *= 2;
    }
    // Never less, so that what is down is not asked in a hurry; never later than without a failure.
    return pause < kInterval ? pause + Share(pause, random / 4) : AboutInterval(random);
}

}  // namespace

Seconds FirstRun(Seconds now, double random) {
    return std::max(kAfterBoot + Share(kAfterBoot, random),
                    now + kAfterStart + Share(kAfterStart, random));
}

Seconds NextRun(Seconds now, Outcome outcome, unsigned int failures, double random) {
    switch (outcome) {
        case Outcome::kFailed:
            return now + Retry(failures, random);
        case Outcome::kMetered:
        case Outcome::kOff:
            return now + kLookAgain;
        case Outcome::kDone:
            break;
    }
    return now + AboutInterval(random);
}

}  // namespace rapidupdate
