#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "product/timetable/zone.h"

// When a task runs next, as a function of nothing but what is handed in. Any thread.

namespace timetable {

/// When a person wants a task to run.
struct Plan {
    enum class Frequency { kDaily, kWeekly };
    enum class Start { kAtTime, kAtBoot };

    Frequency frequency = Frequency::kDaily;
    int interval = 1;                ///< every so many days, or weeks; 1 to 90, or to 15
    std::chrono::weekday weekday{};  ///< of a weekly one
    Start start = Start::kAtTime;
    std::chrono::seconds time{0};    ///< since midnight, below a day; not for kAtBoot
    std::chrono::minutes repeat{0};  ///< again and again after that time; zero for not at all
    /// The day from which days and weeks are counted: that on which the plan was made.
    std::chrono::local_days made;
};

/// Whether every number of it is within its range. What is not has no runs.
[[nodiscard]] bool IsValid(const Plan& plan);

/// Something that was to be done at a moment.
struct Due {
    std::chrono::sys_seconds moment;
    /// The due day that it belongs to: the one on the calendar, wherever the clocks have gone
    /// since.
    std::chrono::local_days day;

    friend bool operator==(const Due&, const Due&) = default;
};

/// Up to where a task is done with.
struct Past {
    /// What was due at this moment or before is settled. For a new plan: when it was made.
    std::chrono::sys_seconds until;
    /// The due day of the last run; none when there was none.
    std::optional<std::chrono::local_days> day;
};

/// What is to be run next of a plan that starts at a time of day.
///
/// Result: when that lies after `now`, the task has to wait for it. When it does not, the task is
/// to be run now; what else was missed before it is not made up for. None for a plan that is not
/// valid.
///
/// Due days are every `interval` days from the day the plan was made, or every `interval` weeks
/// from the first such weekday on or after it. On each the task is due at its time, and with a
/// repeat every so much later, by elapsed time, before that day's midnight. Where clocks jump over
/// the time, it is due when they have jumped, also when that is on the next day; where they show it
/// twice, the first time. For example, for a daily plan at 02:30 in Berlin, where the clocks went
/// from 02:00 to 03:00 on 2011-03-27, in local time:
///
///     done until        now               next
///     03-26 02:30       03-26 12:00       03-27 03:00      the clocks jump over 02:30
///     03-27 03:00       03-27 12:00       03-28 02:30
///     03-26 02:30       03-29 12:00       03-29 02:30      three were missed: one is made up for
///     03-29 02:30       03-29 01:30       03-30 02:30      the clock was set back: not once more
///     2031-01-01 02:30  03-29 12:00       03-30 02:30      the clock was years ahead
///
/// and for the same with a repeat of 10 hours:
///
///     03-26 02:30       03-26 12:00       03-26 12:30
///     03-26 22:30       03-26 23:00       03-27 03:00      and not at 03-27 08:30
///     03-27 03:00       03-27 12:00       03-27 13:00
///
/// In another zone than before, a due day that had its run is not due again, unless it repeats.
std::optional<Due> NextRun(const Plan& plan, const Past& past, std::chrono::sys_seconds now,
                           const Zone& zone);

/// A start of the machine.
struct Boot {
    std::chrono::sys_seconds moment;
    /// How long after it the last thing was settled; none when nothing was. Not a moment: the clock
    /// is often set right soon after a start.
    std::optional<std::chrono::seconds> settled;
};

/// The same of a plan that starts with the machine: it is due at the boot when that is on a due
/// day, and repeats from there. None when nothing is to be run before the machine is started again.
std::optional<Due> NextRunOfBoot(const Plan& plan, const Boot& boot, std::chrono::sys_seconds now,
                                 const Zone& zone);

}  // namespace timetable
