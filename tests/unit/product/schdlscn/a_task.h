#pragma once

#include <string>

#include "product/schdlscn/task_list.h"

// A scheduled scan that has nothing wrong in it.

inline schdlscn::Task ATask(const std::string& name = "Homes") {
    schdlscn::Task task;
    task.name = name;
    task.frequency = kScheduleWeekly;
    task.startMode = kScheduleAtTime;
    task.hour = 21;
    task.minute = 5;
    task.second = 59;
    task.repeats = 1;
    task.interval = 2;
    task.repeatValue = 90;
    task.repeatUnit = kScheduleMinutes;
    task.weekday = 6;
    task.action = kScheduleReportOnly;
    task.options = kScheduleArchives | kSchedulePacked;
    task.folders = {"/home", "/srv/\xC3\xA4 b"};
    return task;
}

inline schdlscn::TaskList::Origin From(uid_t user, const std::string& name) {
    return {.user = user, .name = name, .day = 20000, .settled = {.until = 1'700'000'000}};
}
