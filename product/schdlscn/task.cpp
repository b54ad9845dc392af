#include "product/schdlscn/task.h"

#include <algorithm>
#include <string_view>

#include "common/text_field.h"
#include "common/utf8.h"

namespace schdlscn {

namespace {

constexpr int kMostDays = 90;
constexpr int kMostWeeks = 15;
constexpr int kMostMinutes = 1439;
constexpr int kMostHours = 23;
constexpr int kAllOptions = kScheduleArchives | kScheduleAdware | kScheduleDumb | kSchedulePacked;

bool IsRefusedInName(char letter) {
    constexpr std::string_view kRefused = "/\\:*?\"<>|";
    constexpr unsigned char kDelete = 0x7F;
    const auto byte = static_cast<unsigned char>(letter);
    return byte < ' ' || byte == kDelete || kRefused.find(letter) != std::string_view::npos;
}

/// U+0080 to U+009F.
bool HoldsLateControl(std::string_view name) {
    constexpr char kLead = '\xC2';
    constexpr unsigned char kEnd = 0xA0;
    for (std::size_t i = 0; i + 1 < name.size(); ++i) {
        if (name[i] == kLead && static_cast<unsigned char>(name[i + 1]) < kEnd) {
            return true;
        }
    }
    return false;
}

bool IsWithin(int number, int least, int most) {
    return number >= least && number <= most;
}

bool IsRepeatRight(const Task& task) {
    const bool isInMinutes = task.repeatUnit == kScheduleMinutes;
    return task.repeats == 0 ||
           IsWithin(task.repeatValue, 1, isInMinutes ? kMostMinutes : kMostHours);
}

bool AreNumbersRight(const Task& task) {
    const bool isWeekly = task.frequency == kScheduleWeekly;
    return IsWithin(task.frequency, kScheduleDaily, kScheduleWeekly) &&
           IsWithin(task.startMode, kScheduleAtTime, kScheduleAtFirstBoot) &&
           IsWithin(task.hour, 0, 23) && IsWithin(task.minute, 0, 59) &&
           IsWithin(task.second, 0, 59) && IsWithin(task.repeats, 0, 1) &&
           IsWithin(task.repeatUnit, kScheduleHours, kScheduleMinutes) && IsRepeatRight(task) &&
           IsWithin(task.interval, 1, isWeekly ? kMostWeeks : kMostDays) &&
           IsWithin(task.weekday, isWeekly ? 1 : 0, 7) &&
           IsWithin(task.action, kScheduleRepairOnly, kScheduleReportOnly) &&
           IsWithin(task.options, 0, kAllOptions);
}

}  // namespace

ScheduleError WrongInName(std::string_view name) {
    if (name.find_first_not_of(' ') == std::string_view::npos) {
        return kScheduleNameEmpty;
    }
    if (name.size() >= kScheduleNameSize) {
        return kScheduleNameTooLong;
    }
    if (std::any_of(name.begin(), name.end(), IsRefusedInName) || HoldsLateControl(name)) {
        return kScheduleNameCharacter;
    }
    return common::IsUtf8(name) ? kScheduleOk : kScheduleBadRecord;
}

ScheduleError WrongInFolder(std::string_view path) {
    if (path.empty() || path.front() != '/') {
        return kScheduleFolderNotFull;
    }
    const bool isKeepable = path.size() < kScheduleFolderSize && path.find(';') == path.npos &&
                            path.find('\0') == path.npos && common::IsUtf8(path);
    return isKeepable ? kScheduleOk : kScheduleFolderUnkeepable;
}

ScheduleError WrongInTask(const Task& task) {
    if (const ScheduleError error = WrongInName(task.name); error != kScheduleOk) {
        return error;
    }
    if (!AreNumbersRight(task) || task.folders.empty() ||
        task.folders.size() > kMaxScheduleFolders) {
        return kScheduleBadRecord;
    }
    for (const std::string& folder : task.folders) {
        if (const ScheduleError error = WrongInFolder(folder); error != kScheduleOk) {
            return error;
        }
    }
    return kScheduleOk;
}

timetable::Plan PlanOf(const Task& task, std::chrono::local_days made) {
    timetable::Plan plan;
    using Plan = timetable::Plan;
    plan.frequency =
        task.frequency == kScheduleWeekly ? Plan::Frequency::kWeekly : Plan::Frequency::kDaily;
    plan.start =
        task.startMode == kScheduleAtFirstBoot ? Plan::Start::kAtBoot : Plan::Start::kAtTime;
    plan.interval = task.interval;
    plan.weekday = std::chrono::weekday(static_cast<unsigned>(std::max(task.weekday, 1) - 1));
    plan.time = std::chrono::hours(task.hour) + std::chrono::minutes(task.minute) +
                std::chrono::seconds(task.second);
    if (task.repeats != 0) {
        plan.repeat = task.repeatUnit == kScheduleMinutes ? std::chrono::minutes(task.repeatValue)
                                                          : std::chrono::hours(task.repeatValue);
    }
    plan.made = made;
    return plan;
}

Task TaskOf(const tagSCHEDULE_SCAN_ENTRY& entry) {
    Task task;
    task.name = common::FieldText(entry.name);
    task.frequency = entry.frequency;
    task.startMode = entry.startMode;
    task.hour = entry.hour;
    task.minute = entry.minute;
    task.second = entry.second;
    task.repeats = entry.repeats;
    task.interval = entry.interval;
    task.repeatValue = entry.repeatValue;
    task.repeatUnit = entry.repeatUnit;
    task.weekday = entry.weekday;
    task.action = entry.action;
    task.options = entry.options;
    task.owner = entry.userId;
    const tagSCAN_ITEM* const end = entry.folders.end;
    for (const tagSCAN_ITEM* item = entry.folders.begin;
         item != end && task.folders.size() <= kMaxScheduleFolders; ++item) {
        task.folders.emplace_back(common::FieldText(item->path));
    }
    return task;
}

}  // namespace schdlscn
