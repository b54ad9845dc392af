#include "product/schdlscn/next_turn.h"

namespace schdlscn {

namespace {

using namespace std::chrono_literals;
using std::chrono::seconds;
using std::chrono::sys_seconds;
using timetable::Due;

/// What is due longer than this was missed.
constexpr seconds kLate = 60s;

std::chrono::local_days DayOf(std::int64_t day) {
    return std::chrono::local_days(std::chrono::days(day));
}

}  // namespace

std::int64_t SecondsOf(sys_seconds moment) {
    return moment.time_since_epoch().count();
}

std::optional<Next> NextOf(const KeptTask& kept, const Moment& moment) {
    const timetable::Plan plan = PlanOf(kept.task, DayOf(kept.madeDay));
    const bool isAtBoot = plan.start == timetable::Plan::Start::kAtBoot;
    std::optional<Due> due;
    sys_seconds first;
    if (isAtBoot) {
        timetable::Boot boot{moment.now - moment.sinceBoot, std::nullopt};
        if (kept.settled.boot == moment.boot && kept.settled.inBoot) {
            boot.settled = seconds(*kept.settled.inBoot);
        }
        due = NextRunOfBoot(plan, boot, moment.now, moment.zone);
        first = boot.moment;
    } else {
        timetable::Past past{sys_seconds(seconds(kept.settled.until)), std::nullopt};
        if (kept.settled.day) {
            past.day = DayOf(*kept.settled.day);
        }
        due = NextRun(plan, past, moment.now, moment.zone);
        first = due ? moment.zone.FirstMomentOf(due->day + plan.time) : sys_seconds();
    }
    if (!due) {
        return std::nullopt;
    }
    ScheduleReason reason = isAtBoot ? kScheduleReasonBoot : kScheduleReasonDue;
    if (due->moment != first) {
        reason = kScheduleReasonRepeat;
    }
    if (reason != kScheduleReasonBoot && moment.now - due->moment > kLate) {
        reason = kScheduleReasonMissed;
    }
    return Next{*due, reason};
}

Settled SettledBy(const Due& due, const Moment& moment) {
    Settled settled = moment.AllSettled();
    settled.until = SecondsOf(due.moment);
    settled.day = due.day.time_since_epoch().count();
    settled.inBoot = (due.moment - (moment.now - moment.sinceBoot)).count();
    return settled;
}

}  // namespace schdlscn
