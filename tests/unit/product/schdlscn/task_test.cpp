#include "product/schdlscn/task.h"

#include <cstring>
#include <gtest/gtest.h>

#include "common/schedule_entries.h"
#include "tests/unit/product/schdlscn/a_task.h"

// What may be kept of a scheduled scan, and what each refusal is called.

namespace {

using namespace std::chrono_literals;
using namespace schdlscn;

TEST(TaskNameTest, EachRefusalHasItsCode) {
    EXPECT_EQ(WrongInName("Homes 2 (all), \xC3\xA4"), kScheduleOk);
    EXPECT_EQ(WrongInName(""), 1031);
    EXPECT_EQ(WrongInName("   "), 1031);
    for (const char letter : std::string("/\\:*?\"<>|\x01\t\n\x1F\x7F")) {
        EXPECT_EQ(WrongInName(std::string("a") + letter), 1024) << static_cast<int>(letter);
    }
    EXPECT_EQ(WrongInName("a\xC2\x85"
                          "b"),
              1024);
    EXPECT_EQ(WrongInName("a\xC2\xA0"
                          "b"),
              kScheduleOk);
    EXPECT_EQ(WrongInName("a\xFF"), 1106);
}

TEST(TaskNameTest, TheLengthIsCountedInBytes) {
    EXPECT_EQ(WrongInName(std::string(255, 'a')), kScheduleOk);
    EXPECT_EQ(WrongInName(std::string(256, 'a')), 1030);
    std::string umlauts;
    for (int i = 0; i < 128; ++i) {
        umlauts += "\xC3\xA4";
    }
    EXPECT_EQ(WrongInName(umlauts), 1030);  // 128 letters, 256 bytes
    EXPECT_EQ(WrongInName(umlauts.substr(2)), kScheduleOk);
}

TEST(TaskFolderTest, EachRefusalHasItsCode) {
    EXPECT_EQ(WrongInFolder("/"), kScheduleOk);
    EXPECT_EQ(WrongInFolder("/a b/\xC3\xA4"), kScheduleOk);
    EXPECT_EQ(WrongInFolder("/" + std::string(1022, 'a')), kScheduleOk);
    EXPECT_EQ(WrongInFolder(""), 1021);
    EXPECT_EQ(WrongInFolder("home"), 1021);
    EXPECT_EQ(WrongInFolder("/a;b"), 1102);
    EXPECT_EQ(WrongInFolder("/a\xFF"), 1102);
    EXPECT_EQ(WrongInFolder("/" + std::string(1023, 'a')), 1102);
    EXPECT_EQ(WrongInFolder(std::string("/a\0b", 4)), 1102);
}

class WrongTaskTest : public testing::Test {
protected:
    template <typename Change>
    static ScheduleError Wrong(Change change) {
        Task task = ATask();
        change(task);
        return WrongInTask(task);
    }

    // Whether both ends of a range are taken and what lies beyond them is refused.
    static void ExpectRange(int Task::*field, int least, int most, const Task& base = ATask()) {
        for (const auto& [number, expected] :
             {std::pair(least - 1, kScheduleBadRecord), std::pair(least, kScheduleOk),
              std::pair(most, kScheduleOk), std::pair(most + 1, kScheduleBadRecord)}) {
            Task task = base;
            task.*field = number;
            EXPECT_EQ(WrongInTask(task), expected) << number;
        }
    }
};

TEST_F(WrongTaskTest, EveryNumberHasItsRange) {
    ExpectRange(&Task::startMode, 0, 1);
    ExpectRange(&Task::hour, 0, 23);
    ExpectRange(&Task::minute, 0, 59);
    ExpectRange(&Task::second, 0, 59);
    ExpectRange(&Task::repeats, 0, 1);
    ExpectRange(&Task::interval, 1, 15);
    ExpectRange(&Task::repeatValue, 1, 1439);
    ExpectRange(&Task::weekday, 1, 7);
    ExpectRange(&Task::action, 0, 3);
    ExpectRange(&Task::options, 0, 15);
    ExpectRange(&Task::frequency, 0, 1);
    Task daily = ATask();
    daily.frequency = kScheduleDaily;
    ExpectRange(&Task::interval, 1, 90, daily);
    Task hourly = ATask();
    hourly.repeatUnit = kScheduleHours;
    ExpectRange(&Task::repeatValue, 1, 23, hourly);
    Task often = ATask();
    often.repeatValue = 1;
    ExpectRange(&Task::repeatUnit, 0, 1, often);
    EXPECT_EQ(Wrong([](Task& task) {
                  task.repeats = 0;
                  task.repeatValue = 0;
              }),
              kScheduleOk);
}

TEST_F(WrongTaskTest, ItHasOneToAHundredFolders) {
    EXPECT_EQ(Wrong([](Task& task) { task.folders.clear(); }), kScheduleBadRecord);
    EXPECT_EQ(Wrong([](Task& task) { task.folders.assign(100, "/a"); }), kScheduleOk);
    EXPECT_EQ(Wrong([](Task& task) { task.folders.assign(101, "/a"); }), kScheduleBadRecord);
    EXPECT_EQ(Wrong([](Task& task) { task.folders.back() = "/a;b"; }), kScheduleFolderUnkeepable);
    EXPECT_EQ(Wrong([](Task& task) { task.name = "a/b"; }), kScheduleNameCharacter);
}

TEST(TaskPlanTest, TheChoicesBecomeAPlan) {
    const std::chrono::local_days made{std::chrono::days(20000)};
    timetable::Plan plan = PlanOf(ATask(), made);
    EXPECT_EQ(plan.frequency, timetable::Plan::Frequency::kWeekly);
    EXPECT_EQ(plan.start, timetable::Plan::Start::kAtTime);
    EXPECT_EQ(plan.interval, 2);
    EXPECT_EQ(plan.weekday, std::chrono::Friday);
    EXPECT_EQ(plan.time, 21h + 5min + 59s);
    EXPECT_EQ(plan.repeat, 90min);
    EXPECT_EQ(plan.made, made);
    Task other = ATask();
    other.frequency = kScheduleDaily;
    other.startMode = kScheduleAtFirstBoot;
    other.repeatUnit = kScheduleHours;
    other.repeatValue = 3;
    plan = PlanOf(other, made);
    EXPECT_EQ(plan.frequency, timetable::Plan::Frequency::kDaily);
    EXPECT_EQ(plan.start, timetable::Plan::Start::kAtBoot);
    EXPECT_EQ(plan.repeat, 3h);
    other.repeats = 0;
    EXPECT_EQ(PlanOf(other, made).repeat, 0min);
}

TEST(TaskOfRecordTest, EveryFieldIsTaken) {
    common::OwnedScheduleEntry entry;
    std::memcpy(entry.record.name, "Homes", 6);
    entry.record.frequency = 1;
    entry.record.hour = 21;
    entry.record.minute = 5;
    entry.record.second = 59;
    entry.record.repeats = 1;
    entry.record.interval = 2;
    entry.record.repeatValue = 90;
    entry.record.repeatUnit = 1;
    entry.record.weekday = 6;
    entry.record.action = 3;
    entry.record.options = 9;
    common::AddFolder(entry.record, "/home");
    common::AddFolder(entry.record, "/srv/\xC3\xA4 b");
    EXPECT_EQ(TaskOf(entry.record), ATask());
    entry.record.startMode = 1;
    entry.record.userId = 1000;
    EXPECT_EQ(TaskOf(entry.record).startMode, 1);
    EXPECT_EQ(TaskOf(entry.record).owner, 1000U);
}

TEST(TaskOfRecordTest, WhatDoesNotFitStaysWrong) {
    common::OwnedScheduleEntry entry;
    std::memset(entry.record.name, 'a', sizeof entry.record.name);
    entry.record.interval = -1;
    for (int i = 0; i < 150; ++i) {
        common::AddFolder(entry.record, "/a");
    }
    tagSCAN_ITEM* const first = entry.record.folders.begin;
    std::memset(first->path, '/', kScheduleFolderSize);
    const Task task = TaskOf(entry.record);
    EXPECT_EQ(task.name.size(), 256U);
    EXPECT_EQ(task.interval, -1);
    EXPECT_EQ(task.folders.size(), 101U);
    EXPECT_EQ(WrongInFolder(task.folders.front()), kScheduleFolderUnkeepable);
}

}  // namespace
