#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "reports/files/scheduled_index.h"
#include "tests/unit/product/schdlscn/a_task.h"
#include "tests/unit/product/schdlscn/scheduler_service.h"

// What serve_tasks and its test have in common: one task that was due two hours ago, and changes of
// another one, all of the same user.

inline constexpr uid_t kTaskOwner = 1;
inline constexpr char kTaskOwnerName[] = "daemon";

inline constexpr std::chrono::sys_seconds kServedNow =
    std::chrono::sys_days(std::chrono::year(2026) / 11 / 23) + std::chrono::hours(12);
inline constexpr std::chrono::sys_seconds kServedDue = kServedNow - std::chrono::hours(2);

inline schdlscn::Moment ServedMoment(std::chrono::seconds sinceBoot) {
    schdlscn::Moment moment;
    moment.now = kServedNow;
    moment.sinceBoot = sinceBoot;
    moment.boot = "boot";
    return moment;
}

/// Of the user, with nothing settled since the day before.
inline schdlscn::TaskList::Origin ServedOrigin() {
    const auto before = kServedDue - std::chrono::hours(20);
    return {.user = kTaskOwner,
            .name = kTaskOwnerName,
            .day = std::chrono::floor<std::chrono::days>(before).time_since_epoch().count(),
            .settled = {.until = before.time_since_epoch().count()}};
}

/// Every day at ten.
inline schdlscn::Task DueTask() {
    schdlscn::Task task = ATask("due");
    task.frequency = kScheduleDaily;
    task.interval = 1;
    task.repeats = 0;
    task.hour = 10;
    task.minute = 0;
    task.second = 0;
    return task;
}

inline schdlscn::Task NewTask() {
    schdlscn::Task task = DueTask();
    task.name = "a";
    task.hour = 20;
    return task;
}

inline schdlscn::Task ChangedTask() {
    schdlscn::Task task = NewTask();
    task.folders.assign(50, "/changed");
    return task;
}

inline std::vector<tagReportIndexEntry> ListedEntries() {
    std::vector<tagReportIndexEntry> entries;
    unsigned int error = 0;
    (void)ReadIndexEntry(reports::kScheduledIndexKind, entries, 0, &error);
    return entries;
}

inline std::size_t ListedReports() {
    return ListedEntries().size();
}
