#pragma once

#include <optional>

#include "product/schdlscn/moment.h"
#include "product/schdlscn/task_list.h"
#include "product/timetable/next_run.h"

// When a task of the list runs next, and why. Any thread.

namespace schdlscn {

/// What is due next of a task, and why when it is due now.
struct Next {
    timetable::Due due;
    ScheduleReason reason;
};

/// None for a task that has nothing due before the machine is started again.
std::optional<Next> NextOf(const KeptTask& kept, const Moment& moment);

/// Up to where the runs of a task are settled once it runs for what was due.
Settled SettledBy(const timetable::Due& due, const Moment& moment);

/// Seconds since 1970.
std::int64_t SecondsOf(std::chrono::sys_seconds moment);

}  // namespace schdlscn
