#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "abi/schdlscn.h"
#include "product/timetable/next_run.h"

// A scheduled scan as the scheduler keeps it. Any thread.

namespace schdlscn {

/// What a person has chosen. Numbers are those of tagSCHEDULE_SCAN_ENTRY.
struct Task {
    std::string name;
    int frequency = kScheduleDaily;
    int startMode = kScheduleAtTime;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int repeats = 0;
    int interval = 1;
    int repeatValue = 0;
    int repeatUnit = kScheduleHours;
    int weekday = 1;
    int action = kScheduleRepairOnly;
    int options = 0;
    uid_t owner = 0;
    std::vector<std::string> folders;

    friend bool operator==(const Task&, const Task&) = default;
};

/// How the last run of a task went. Times are seconds since 1970, 0 for none.
struct LastRun {
    std::int64_t start = 0;
    std::int64_t end = 0;  ///< 0 while it runs
    int result = kScheduleNeverRun;
    int reason = kScheduleReasonNone;
    std::int64_t infected = 0;
    std::int64_t unread = 0;
    std::string report = {};  ///< a plain name
    std::string detail = {};

    friend bool operator==(const LastRun&, const LastRun&) = default;
};

/// Most tasks of one user.
inline constexpr std::size_t kMostTasksOfUser = 100;

/// Why no task may be called that, whatever others are called; kScheduleOk for nothing.
ScheduleError WrongInName(std::string_view name);

/// Why a folder's path cannot be kept, whether or not there is such a folder.
ScheduleError WrongInFolder(std::string_view path);

/// Why a task cannot be kept as it is, whatever other tasks there are.
ScheduleError WrongInTask(const Task& task);

/// When a task that has nothing wrong in it runs, counted from the day `made`.
timetable::Plan PlanOf(const Task& task, std::chrono::local_days made);

/// The task in a record. The name of one that is not terminated has 256 bytes, a path 1,024, and of
/// folders there are at most one more than may be: all three are wrong in the task.
Task TaskOf(const tagSCHEDULE_SCAN_ENTRY& entry);

}  // namespace schdlscn
