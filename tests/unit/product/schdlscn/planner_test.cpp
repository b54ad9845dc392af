#include "product/schdlscn/planner.h"

#include <gtest/gtest.h>

#include "tests/support/scratch.h"
#include "tests/unit/product/schdlscn/a_task.h"
#include "tests/unit/product/schdlscn/fake_runs.h"

// Which task runs when, by a clock that the test moves.

namespace {

using namespace std::chrono_literals;
using namespace schdlscn;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using Strings = std::vector<std::string>;

constexpr uid_t kAnna = 1000;
constexpr uid_t kBert = 1001;
constexpr uid_t kCarl = 1002;

// Reasons, as the record of a task has them.
constexpr char kDue[] = " 1";
constexpr char kMissed[] = " 2";
constexpr char kBoot[] = " 3";
constexpr char kRepeat[] = " 4";
constexpr char kAsked[] = " 5";

class PlannerTest : public testing::Test {
protected:
    PlannerTest() {
        m_moment.now = kMonday;
        m_moment.sinceBoot = 24h;
        m_moment.boot = "boot";
    }

    // Daily at that time of the day.
    void Add(const std::string& name, uid_t user, seconds time, int repeatMinutes = 0,
             ScheduleStart start = kScheduleAtTime) {
        Task task = ATask(name);
        task.frequency = kScheduleDaily;
        task.interval = m_interval;
        task.startMode = start;
        task.hour = static_cast<int>(time / 1h);
        task.minute = static_cast<int>(time % 1h / 1min);
        task.second = static_cast<int>(time % 1min / 1s);
        task.repeats = repeatMinutes > 0 ? 1 : 0;
        task.repeatValue = repeatMinutes;
        ASSERT_EQ(m_list.Add(task, {.user = user,
                                    .name = "user",
                                    .day = m_moment.Day().time_since_epoch().count(),
                                    .settled = m_moment.AllSettled()}),
                  kScheduleOk);
        if (m_planner) {
            m_planner->Reload();
        }
    }

    // The service begins now.
    void Begin() { m_planner = std::make_unique<Planner>(m_list, m_launcher, m_moment); }

    // What has begun since the last time.
    Strings Look() {
        if (!m_planner) {
            Begin();
        }
        m_launcher.begun.clear();
        m_wake = m_planner->Look(m_moment);
        return m_launcher.begun;
    }

    Strings LookAt(sys_seconds now) {
        m_moment.sinceBoot += now - m_moment.now;
        m_moment.now = now;
        return Look();
    }

    LastRun Last(const std::string& name) {
        KeptTask kept;
        EXPECT_EQ(m_list.Get(name, 0, kept), kScheduleOk);
        return kept.last;
    }

    ScheduleError RunSoon(const std::string& name, uid_t user) {
        return m_planner->RunSoon(name, user, m_moment);
    }

    TaskState Tell(const std::string& name, uid_t user = 0) {
        TaskState state;
        EXPECT_EQ(m_planner->Tell(name, user, m_moment, state), kScheduleOk);
        return state;
    }

    static std::int64_t CountOf(sys_seconds moment) { return moment.time_since_epoch().count(); }

    static constexpr sys_seconds kMonday = sys_days(std::chrono::year(2026) / 11 / 23) + 8h;
    static constexpr sys_seconds kMidnight = sys_days(std::chrono::year(2026) / 11 / 23);

    int m_interval = 1;  ///< of days
    ScratchFolder m_scratch;
    TaskList m_list{m_scratch / "tsklst.inf"};
    FakeLauncher m_launcher;
    Moment m_moment;
    std::unique_ptr<Planner> m_planner;
    std::optional<sys_seconds> m_wake;
};

TEST_F(PlannerTest, WithoutTasksItSleepsOn) {
    EXPECT_EQ(Look(), Strings{});
    EXPECT_EQ(m_wake, std::nullopt);
}

TEST_F(PlannerTest, ItSleepsUntilATaskIsDueAndRunsItThen) {
    Add("a", kAnna, 10h);
    Add("b", kBert, 9h + 30min);
    EXPECT_EQ(Look(), Strings{});
    EXPECT_EQ(m_wake, kMidnight + 9h + 30min);
    EXPECT_EQ(LookAt(kMidnight + 9h + 30min - 1s), Strings{});
    EXPECT_EQ(LookAt(kMidnight + 9h + 30min), (Strings{std::string("b") + kDue}));
    EXPECT_EQ(m_wake, kMidnight + 10h);
    EXPECT_EQ(Last("b").start, (kMidnight + 9h + 30min).time_since_epoch().count());
    EXPECT_EQ(Last("b").end, 0);
    EXPECT_EQ(Last("b").reason, kScheduleReasonDue);
    EXPECT_EQ(Look(), Strings{});
}

TEST_F(PlannerTest, HowARunEndedIsKept) {
    Add("a", kAnna, 10h);
    LookAt(kMidnight + 10h);
    m_launcher.End("a", {kScheduleRunFound, 3, 4, "schd1234.rpt", "words"});
    EXPECT_EQ(LookAt(kMidnight + 10h + 5min), Strings{});
    const LastRun last = Last("a");
    EXPECT_EQ(last.start, (kMidnight + 10h).time_since_epoch().count());
    EXPECT_EQ(last.end, (kMidnight + 10h + 5min).time_since_epoch().count());
    EXPECT_EQ(last.result, kScheduleRunFound);
    EXPECT_EQ(last.infected, 3);
    EXPECT_EQ(last.unread, 4);
    EXPECT_EQ(last.report, "schd1234.rpt");
    EXPECT_EQ(last.detail, "words");
    EXPECT_EQ(m_launcher.running, Strings{});
    EXPECT_EQ(m_wake, kMidnight + 24h + 10h);
    EXPECT_EQ(LookAt(kMidnight + 34h), (Strings{std::string("a") + kDue}));
}

TEST_F(PlannerTest, ARunThatCannotBeginIsKeptAndNotTriedAgain) {
    Add("a", kAnna, 10h);
    m_launcher.End("a", {kScheduleRunNoOwner});
    EXPECT_EQ(LookAt(kMidnight + 10h), (Strings{std::string("a") + kDue}));
    EXPECT_EQ(Last("a").result, kScheduleRunNoOwner);
    EXPECT_EQ(Last("a").end, Last("a").start);
    EXPECT_EQ(Look(), Strings{});
}

TEST_F(PlannerTest, OfOneUserOneRunsAtATime) {
    Add("a", kAnna, 10h);
    Add("b", kAnna, 9h);
    // Nothing was looked at in between: what was due first comes first, and both were missed.
    Begin();
    EXPECT_EQ(LookAt(kMidnight + 10h), (Strings{std::string("b") + kMissed}));
    m_launcher.End("b");
    EXPECT_EQ(LookAt(kMidnight + 10h + 30s), (Strings{std::string("a") + kDue}));
}

TEST_F(PlannerTest, TwoRunAtOnceAndUsersTakeTurns) {
    for (const auto& [name, user] :
         {std::pair("a1", kAnna), std::pair("a2", kAnna), std::pair("b1", kBert),
          std::pair("b2", kBert), std::pair("c1", kCarl)}) {
        Add(name, user, 10h);
    }
    Look();
    const std::string due = kDue;
    EXPECT_EQ(LookAt(kMidnight + 10h), (Strings{"a1" + due, "b1" + due}));
    m_launcher.End("a1");
    // Anna and Bert have had their turns.
    EXPECT_EQ(Look(), (Strings{"c1" + due}));
    m_launcher.End("c1");
    EXPECT_EQ(Look(), (Strings{"a2" + due}));
    m_launcher.End("b1");
    m_launcher.End("a2");
    EXPECT_EQ(Look(), (Strings{"b2" + due}));
}

TEST_F(PlannerTest, ATaskNeverRunsTwiceAtATime) {
    Add("a", kAnna, 10h, 10);
    EXPECT_EQ(LookAt(kMidnight + 10h), (Strings{std::string("a") + kDue}));
    EXPECT_EQ(LookAt(kMidnight + 10h + 20min), Strings{});
    m_launcher.End("a");
    EXPECT_EQ(LookAt(kMidnight + 10h + 20min + 30s), (Strings{std::string("a") + kRepeat}));
    m_launcher.End("a");
    Look();
    EXPECT_EQ(m_wake, kMidnight + 10h + 30min);
}

TEST_F(PlannerTest, WhatWasMissedRunsOnceTwoMinutesAfterTheServiceIsBack) {
    Add("a", kAnna, 10h);
    m_moment.now = kMidnight + 72h + 12h;
    m_moment.sinceBoot += 76h;
    Begin();
    EXPECT_EQ(Look(), Strings{});
    EXPECT_EQ(m_wake, kMidnight + 84h + 2min);
    EXPECT_EQ(LookAt(kMidnight + 84h + 2min - 1s), Strings{});
    EXPECT_EQ(LookAt(kMidnight + 84h + 2min), (Strings{std::string("a") + kMissed}));
    EXPECT_EQ(Last("a").reason, kScheduleReasonMissed);
    m_launcher.End("a");
    EXPECT_EQ(Look(), Strings{});
    EXPECT_EQ(m_wake, kMidnight + 96h + 10h);
}

TEST_F(PlannerTest, WhatWasMissedAsleepRunsTwoMinutesAfterwards) {
    Add("a", kAnna, 10h);
    Look();
    m_moment.asleep += 4h;
    EXPECT_EQ(LookAt(kMidnight + 12h), Strings{});
    EXPECT_EQ(m_wake, kMidnight + 12h + 2min);
    EXPECT_EQ(LookAt(kMidnight + 12h + 2min), (Strings{std::string("a") + kMissed}));
}

TEST_F(PlannerTest, AClockThatIsSetLosesAndDoublesNoRun) {
    Add("a", kAnna, 10h);
    Look();
    LookAt(m_moment.now + 3min);
    // Put forward over the time: at once, for the service was there all the time.
    m_moment.now = kMidnight + 11h;
    EXPECT_EQ(Look(), (Strings{std::string("a") + kMissed}));
    m_launcher.End("a");
    Look();
    m_moment.now = kMidnight + 9h;
    EXPECT_EQ(Look(), Strings{});
    EXPECT_EQ(m_wake, kMidnight + 34h);
}

TEST_F(PlannerTest, AtTheStartOfTheMachineATaskRunsOnceWithoutWaiting) {
    Add("a", kAnna, 0h, 0, kScheduleAtFirstBoot);
    EXPECT_EQ(Look(), Strings{});  // it was made after this start
    m_moment.boot = "next";
    m_moment.sinceBoot = 5min;
    m_moment.now += 24h;
    Begin();
    EXPECT_EQ(Look(), (Strings{std::string("a") + kBoot}));
    m_launcher.End("a");
    EXPECT_EQ(Look(), Strings{});
    Begin();
    EXPECT_EQ(LookAt(m_moment.now + 1h), Strings{});
    // The clock was wrong at the start.
    m_moment.now += 30min;
    EXPECT_EQ(Look(), Strings{});
    m_moment.boot = "the one after that";
    m_moment.sinceBoot = 10s;
    Begin();
    EXPECT_EQ(Look(), (Strings{std::string("a") + kBoot}));
}

TEST_F(PlannerTest, WhatStartsWithTheMachineRepeatsFromThere) {
    Add("a", kAnna, 0h, 60, kScheduleAtFirstBoot);
    m_moment.boot = "next";
    m_moment.sinceBoot = 30s;
    Begin();
    EXPECT_EQ(Look(), (Strings{std::string("a") + kBoot}));
    m_launcher.End("a");
    EXPECT_EQ(LookAt(m_moment.now + 10min), Strings{});
    const sys_seconds boot = m_moment.now - m_moment.sinceBoot;
    EXPECT_EQ(m_wake, boot + 1h);
    EXPECT_EQ(LookAt(boot + 1h), (Strings{std::string("a") + kRepeat}));
}

TEST_F(PlannerTest, ARunEndsAfterADay) {
    m_interval = 2;
    Add("a", kAnna, 10h);
    LookAt(kMidnight + 10h);
    EXPECT_EQ(LookAt(kMidnight + 34h - 1s), Strings{});
    EXPECT_EQ(m_launcher.stopped, Strings{});
    EXPECT_EQ(m_wake, kMidnight + 34h);
    LookAt(kMidnight + 34h);
    EXPECT_EQ(m_launcher.stopped, Strings{"a"});
    EXPECT_EQ(m_wake, kMidnight + 34h + 10s);
    LookAt(*m_wake);
    EXPECT_EQ(m_launcher.stopped, (Strings{"a", "a"}));
    m_launcher.End("a", {kScheduleRunInterrupted});
    LookAt(kMidnight + 34h + 30s);
    EXPECT_EQ(Last("a").result, kScheduleRunTookTooLong);
}

TEST_F(PlannerTest, WhatWasRunningWhenTheServiceWasKilledWasInterrupted) {
    Add("a", kAnna, 10h);
    LookAt(kMidnight + 10h);
    EXPECT_EQ(Last("a").report, "schd0042.rpt") << "so that it can be found again";
    EXPECT_EQ(m_launcher.reports, Strings{"schd0042.rpt"});
    EXPECT_EQ(Tell("a").last.report, "") << "it is not written yet";
    EXPECT_EQ(m_launcher.recovered, Strings{});
    Begin();
    EXPECT_EQ(m_launcher.recovered, Strings{"a schd0042.rpt"});
    EXPECT_EQ(LookAt(kMidnight + 10h + 5min), Strings{});
    EXPECT_EQ(Last("a").result, kScheduleRunInterrupted);
    EXPECT_EQ(Last("a").report, "schd0043.rpt");
    EXPECT_EQ(Tell("a").last.report, "schd0043.rpt");
    EXPECT_EQ(Last("a").start, (kMidnight + 10h).time_since_epoch().count());
    EXPECT_NE(Last("a").end, 0);
    EXPECT_EQ(m_wake, kMidnight + 34h);
}

// The disk may come to its senses only after the service has begun.
TEST_F(PlannerTest, WhatWasInterruptedIsNotedAsSoonAsTheListCanBeUsed) {
    Add("a", kAnna, 10h);
    LookAt(kMidnight + 10h);
    const std::string path = m_scratch / "tsklst.inf";
    ::chmod(path.c_str(), 0666);  // others may write it: it is not believed
    TaskList list(path);
    Planner planner(list, m_launcher, m_moment);
    EXPECT_EQ(planner.Look(m_moment), m_moment.now + 1min);
    EXPECT_EQ(m_launcher.recovered, Strings{});
    ::chmod(path.c_str(), 0600);
    EXPECT_EQ(planner.Look(m_moment), kMidnight + 34h);
    EXPECT_EQ(m_launcher.recovered, Strings{"a schd0042.rpt"});
    EXPECT_EQ(Last("a").result, kScheduleRunInterrupted);
    EXPECT_EQ(m_launcher.told, Strings{"a 5 schd0043.rpt"});
    planner.Look(m_moment);
    EXPECT_EQ(m_launcher.recovered.size(), 1U);
}

TEST_F(PlannerTest, WhatRunsWhenTheServiceStopsWasInterrupted) {
    Add("a", kAnna, 10h);
    LookAt(kMidnight + 10h);
    m_moment.now += 1min;
    m_planner->StopAll(m_moment);
    EXPECT_EQ(m_launcher.running, Strings{});
    EXPECT_EQ(Last("a").result, kScheduleRunInterrupted);
    EXPECT_EQ(Last("a").end, m_moment.now.time_since_epoch().count());
    EXPECT_EQ(Last("a").report, "schd0001.rpt");
    EXPECT_EQ(m_launcher.stopped, Strings{"a"});
}

TEST_F(PlannerTest, WithoutAListNothingRunsAndItLooksAgain) {
    Add("a", kAnna, 10h);
    Look();
    WriteFile(m_scratch / "none", "no list, and long enough to be seen as none");
    ::chmod((m_scratch / "none").c_str(), 0600);
    TaskList none(m_scratch / "none");
    Planner planner(none, m_launcher, m_moment);
    EXPECT_EQ(planner.Look(m_moment), m_moment.now + 1min);
}

TEST_F(PlannerTest, ATaskThatIsDeletedWhileItRunsEndsQuietly) {
    Add("a", kAnna, 10h);
    LookAt(kMidnight + 10h);
    ASSERT_EQ(m_list.Delete("a", kAnna), kScheduleOk);
    m_planner->Reload();
    m_launcher.End("a");
    EXPECT_EQ(Look(), Strings{});
    EXPECT_EQ(m_wake, std::nullopt);
    EXPECT_EQ(m_launcher.running, Strings{});
}

// ---- What is asked for

constexpr std::uint32_t kServes = kScheduleServiceRuns;
constexpr std::uint32_t kRuns = kScheduleServiceRuns | kScheduleTaskRuns;
constexpr std::uint32_t kWaits = kScheduleServiceRuns | kScheduleTaskWaits;

TEST_F(PlannerTest, WhatIsAskedForRunsNowAndIsDueAsBefore) {
    Add("a", kAnna, 10h);
    Look();
    EXPECT_EQ(RunSoon("a", kAnna), kScheduleOk);
    EXPECT_EQ(Look(), (Strings{std::string("a") + kAsked}));
    EXPECT_EQ(Last("a").reason, kScheduleReasonAsked);
    EXPECT_EQ(Last("a").start, CountOf(kMonday));
    EXPECT_EQ(Tell("a").nextRun, CountOf(kMidnight + 10h));
    m_launcher.End("a");
    EXPECT_EQ(Look(), Strings{});
    EXPECT_EQ(m_wake, kMidnight + 10h);
    EXPECT_EQ(LookAt(kMidnight + 10h), (Strings{std::string("a") + kDue}));
}

TEST_F(PlannerTest, WhatRunsOrWaitsIsNotRunTwice) {
    Add("a", kAnna, 10h);
    Add("b", kAnna, 11h);
    Look();
    EXPECT_EQ(RunSoon("a", kAnna), kScheduleOk);
    EXPECT_EQ(RunSoon("a", kAnna), kScheduleAlreadyRunning);
    EXPECT_EQ(Look(), (Strings{std::string("a") + kAsked}));
    EXPECT_EQ(RunSoon("a", kAnna), kScheduleAlreadyRunning);
    // One of a user at a time.
    EXPECT_EQ(RunSoon("b", kAnna), kScheduleOk);
    EXPECT_EQ(Look(), Strings{});
    EXPECT_EQ(RunSoon("b", kAnna), kScheduleAlreadyRunning);
    m_launcher.End("a");
    EXPECT_EQ(Look(), (Strings{std::string("b") + kAsked}));
    m_launcher.End("b");
    EXPECT_EQ(Look(), Strings{});
}

TEST_F(PlannerTest, TwoAtOnceAlsoWhenTheyAreAskedFor) {
    Add("a", kAnna, 10h);
    Add("b", kBert, 10h);
    Add("c", kCarl, 10h);
    Look();
    EXPECT_EQ(RunSoon("a", kAnna), kScheduleOk);
    EXPECT_EQ(RunSoon("b", kBert), kScheduleOk);
    EXPECT_EQ(RunSoon("c", 0), kScheduleOk);
    EXPECT_EQ(Look(), (Strings{std::string("a") + kAsked, std::string("b") + kAsked}));
    EXPECT_EQ(Tell("c").flags, kWaits);
}

TEST_F(PlannerTest, WhatBecomesDueWhileItWaitsForItsTurnRunsOnce) {
    Add("a", kAnna, 10h);
    Add("b", kAnna, 11h);
    Look();
    EXPECT_EQ(RunSoon("b", kAnna), kScheduleOk);
    EXPECT_EQ(RunSoon("a", kAnna), kScheduleOk);
    EXPECT_EQ(Look().size(), 1U);
    const bool isBFirst = Tell("b").flags == kRuns;
    m_launcher.End(isBFirst ? "b" : "a");
    EXPECT_EQ(Look().size(), 1U);
    m_launcher.End(isBFirst ? "a" : "b");
    Look();
    // Asked for behind a long run of the same user, and due before that has ended.
    EXPECT_EQ(RunSoon("b", kAnna), kScheduleOk);
    Look();
    EXPECT_EQ(RunSoon("a", kAnna), kScheduleOk);
    EXPECT_EQ(LookAt(kMidnight + 10h), Strings{});
    m_launcher.End("b");
    EXPECT_EQ(LookAt(kMidnight + 10h + 30s), (Strings{std::string("a") + kDue}));
    m_launcher.End("a");
    EXPECT_EQ(Look(), Strings{});
    EXPECT_EQ(m_wake, kMidnight + 11h);
}

TEST_F(PlannerTest, WhatIsAskedForAndDeletedIsForgotten) {
    Add("a", kAnna, 10h);
    Add("b", kAnna, 11h);
    Look();
    EXPECT_EQ(RunSoon("a", kAnna), kScheduleOk);
    Look();
    EXPECT_EQ(RunSoon("b", kAnna), kScheduleOk);
    ASSERT_EQ(m_list.Delete("b", kAnna), kScheduleOk);
    m_planner->Reload();
    m_launcher.End("a");
    EXPECT_EQ(Look(), Strings{});
}

TEST_F(PlannerTest, ATaskIsOnlyItsOwnersToAskAbout) {
    Add("a", kAnna, 10h);
    Look();
    TaskState state;
    EXPECT_EQ(m_planner->Tell("a", kBert, m_moment, state), kScheduleNoSuchTask);
    EXPECT_EQ(state, TaskState{.flags = kServes});
    EXPECT_EQ(m_planner->Tell("b", kAnna, m_moment, state), kScheduleNoSuchTask);
    EXPECT_EQ(RunSoon("a", kBert), kScheduleNoSuchTask);
    EXPECT_EQ(RunSoon("", kAnna), kScheduleNoSuchTask);
    EXPECT_EQ(Look(), Strings{});
    EXPECT_EQ(Tell("", kBert), TaskState{.flags = kServes});
    EXPECT_EQ(Tell("a", kAnna).flags, kServes);
}

TEST_F(PlannerTest, HowATaskStandsIsTold) {
    Add("a", kAnna, 10h);
    Look();
    EXPECT_EQ(Tell("a"), (TaskState{.flags = kServes, .nextRun = CountOf(kMidnight + 10h)}));
    LookAt(kMidnight + 10h);
    TaskState state = Tell("a");
    EXPECT_EQ(state.flags, kRuns);
    EXPECT_EQ(state.nextRun, CountOf(kMidnight + 34h));
    EXPECT_EQ(state.last.start, CountOf(kMidnight + 10h));
    EXPECT_EQ(state.last.end, 0);
    EXPECT_EQ(state.last.reason, kScheduleReasonDue);
    m_launcher.End("a", {kScheduleRunFound, 3, 4, "schd1234.rpt", "words"});
    LookAt(kMidnight + 10h + 5min);
    state = Tell("a");
    EXPECT_EQ(state.flags, kServes);
    EXPECT_EQ(state.last, Last("a"));
    EXPECT_EQ(state.last.infected, 3);
}

// It has been missed: until the machine has had its quiet, it runs later.
TEST_F(PlannerTest, WhatWasMissedIsToldToRunSoon) {
    Add("a", kAnna, 10h);
    m_moment.now = kMidnight + 12h;
    m_moment.sinceBoot += 4h;
    Begin();
    Look();
    EXPECT_EQ(Tell("a").flags, kServes);
    EXPECT_EQ(Tell("a").nextRun, CountOf(kMidnight + 12h + 2min));
    // Asked for before that, it is made up for later all the same.
    EXPECT_EQ(RunSoon("a", kAnna), kScheduleOk);
    EXPECT_EQ(Look(), (Strings{std::string("a") + kAsked}));
    m_launcher.End("a");
    EXPECT_EQ(LookAt(kMidnight + 12h + 2min), (Strings{std::string("a") + kMissed}));
}

TEST_F(PlannerTest, WhatStartsWithTheMachineHasNoNextTimeThatIsKnown) {
    Add("a", kAnna, 0h, 0, kScheduleAtFirstBoot);
    Look();
    EXPECT_EQ(Tell("a"), TaskState{.flags = kServes});
}

TEST_F(PlannerTest, TheOwnerIsToldHowARunEnded) {
    Add("a", kAnna, 10h);
    LookAt(kMidnight + 10h);
    EXPECT_EQ(m_launcher.told, Strings{});
    m_launcher.End("a", {kScheduleRunFound, 3, 4, "schd1234.rpt", "words"});
    Look();
    EXPECT_EQ(m_launcher.told, Strings{"a 2 schd1234.rpt"});
    EXPECT_EQ(m_launcher.notices, 1) << "it is not waited for";
    EXPECT_EQ(m_planner->Descriptors(), std::vector<int>{4711});
    m_launcher.areNoticesOver = true;
    Look();
    EXPECT_EQ(m_launcher.notices, 0);
    EXPECT_EQ(m_planner->Descriptors(), std::vector<int>{});
}

TEST_F(PlannerTest, TheOwnerIsToldOfWhatDidNotBeginAndOfWhatWasBrokenOff) {
    Add("a", kAnna, 10h);
    m_launcher.End("a", {kScheduleRunNoReport});
    LookAt(kMidnight + 10h);
    EXPECT_EQ(m_launcher.told, Strings{"a 8 "});
    LookAt(kMidnight + 34h);
    Begin();
    EXPECT_EQ(m_launcher.told, (Strings{"a 8 ", "a 5 schd0043.rpt"}));
}

TEST_F(PlannerTest, NobodyIsToldOfARunThatEndsWithTheService) {
    Add("a", kAnna, 10h);
    LookAt(kMidnight + 10h);
    m_planner->StopAll(m_moment);
    EXPECT_EQ(m_launcher.told, Strings{});
}

}  // namespace
