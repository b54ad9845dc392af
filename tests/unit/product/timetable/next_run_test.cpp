#include "product/timetable/next_run.h"

#include <gtest/gtest.h>

#include "tests/unit/product/timetable/system_zone.h"

// When a task runs next, in times that a person reads off a clock.

namespace {

using namespace std::chrono_literals;
using timetable::Boot;
using timetable::Due;
using timetable::NextRun;
using timetable::NextRunOfBoot;
using timetable::Past;
using timetable::Plan;
using timetable::Zone;

class NextRunTest : public testing::Test {
protected:
    // Daily at 02:30.
    static Plan Daily() {
        Plan plan;
        plan.time = 2h + 30min;
        plan.made = Day("2011-03-01");
        return plan;
    }

    static Plan Weekly(std::chrono::weekday weekday, int interval) {
        Plan plan = Daily();
        plan.frequency = Plan::Frequency::kWeekly;
        plan.weekday = weekday;
        plan.interval = interval;
        return plan;
    }

    // All in local time: what comes after `until`, at `now`.
    [[nodiscard]] std::string Next(const Plan& plan, const std::string& until,
                                   const std::string& now,
                                   std::optional<std::chrono::local_days> day = {}) const {
        return Text(NextRun(plan, {m_zone.FirstMomentOf(Local(until + ":00")), day},
                            m_zone.FirstMomentOf(Local(now + ":00")), m_zone));
    }

    [[nodiscard]] std::string Text(const std::optional<Due>& due) const {
        if (!due) {
            return "never";
        }
        const std::time_t local = m_zone.LocalOf(due->moment).time_since_epoch().count();
        std::tm time{};
        ::gmtime_r(&local, &time);
        std::string text(20, '\0');
        text.resize(std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &time));
        return text;
    }

    Zone m_zone = ZoneNamed("Europe/Berlin");
};

TEST_F(NextRunTest, ADailyTaskWaitsForItsTime) {
    EXPECT_EQ(Next(Daily(), "2011-03-25 02:30", "2011-03-25 12:00"), "2011-03-26 02:30");
    EXPECT_EQ(Next(Daily(), "2011-03-25 02:29", "2011-03-25 02:29"), "2011-03-25 02:30");
    EXPECT_EQ(Next(Daily(), "2011-03-25 02:30", "2011-03-25 02:30"), "2011-03-26 02:30");
}

TEST_F(NextRunTest, TheSecondOfItsTimeCounts) {
    Plan plan = Daily();
    plan.time += 15s;
    const auto due =
        NextRun(plan, {Utc("2011-03-25 01:30:14"), {}}, Utc("2011-03-25 01:30:14"), m_zone);
    EXPECT_EQ(due, (Due{Utc("2011-03-25 01:30:15"), Day("2011-03-25")}));
}

TEST_F(NextRunTest, DaysAreCountedFromTheDayItWasMade) {
    Plan plan = Daily();
    plan.interval = 3;
    plan.made = Day("2011-03-10");
    EXPECT_EQ(Next(plan, "2011-03-10 01:00", "2011-03-10 01:00"), "2011-03-10 02:30");
    EXPECT_EQ(Next(plan, "2011-03-10 12:00", "2011-03-10 12:00"), "2011-03-13 02:30");
    EXPECT_EQ(Next(plan, "2011-03-16 02:30", "2011-03-16 02:30"), "2011-03-19 02:30");
    plan.interval = 90;
    EXPECT_EQ(Next(plan, "2011-03-10 12:00", "2011-03-10 12:00"), "2011-06-08 02:30");
}

TEST_F(NextRunTest, WeeksAreCountedFromTheFirstSuchDayOnOrAfterThatDay) {
    // The 1st of March 2011 was a Tuesday.
    EXPECT_EQ(Next(Weekly(std::chrono::Tuesday, 2), "2011-03-01 00:00", "2011-03-01 00:00"),
              "2011-03-01 02:30");
    EXPECT_EQ(Next(Weekly(std::chrono::Tuesday, 2), "2011-03-01 12:00", "2011-03-01 12:00"),
              "2011-03-15 02:30");
    EXPECT_EQ(Next(Weekly(std::chrono::Monday, 2), "2011-03-01 12:00", "2011-03-01 12:00"),
              "2011-03-07 02:30");
    EXPECT_EQ(Next(Weekly(std::chrono::Monday, 2), "2011-03-07 02:30", "2011-03-07 02:30"),
              "2011-03-21 02:30");
    EXPECT_EQ(Next(Weekly(std::chrono::Wednesday, 15), "2011-03-02 02:30", "2011-03-02 02:30"),
              "2011-06-15 02:30");
}

TEST_F(NextRunTest, ATimeThatIsJumpedOverIsDueAtTheJump) {
    EXPECT_EQ(Next(Daily(), "2011-03-26 02:30", "2011-03-26 12:00"), "2011-03-27 03:00");
    EXPECT_EQ(Next(Daily(), "2011-03-27 03:00", "2011-03-27 12:00"), "2011-03-28 02:30");
}

TEST_F(NextRunTest, ATimeThatIsShownTwiceIsDueOnce) {
    const auto first =
        NextRun(Daily(), {Utc("2011-10-29 00:30:00"), {}}, Utc("2011-10-29 12:00:00"), m_zone);
    EXPECT_EQ(first, (Due{Utc("2011-10-30 00:30:00"), Day("2011-10-30")}));
    const auto next = NextRun(Daily(), {first->moment, first->day}, first->moment, m_zone);
    EXPECT_EQ(next, (Due{Utc("2011-10-31 01:30:00"), Day("2011-10-31")}));
}

TEST_F(NextRunTest, OfWhatWasMissedTheLastIsDue) {
    EXPECT_EQ(Next(Daily(), "2011-03-20 02:30", "2011-03-24 12:00"), "2011-03-24 02:30");
    EXPECT_EQ(Next(Weekly(std::chrono::Tuesday, 1), "2011-03-01 02:30", "2011-03-28 12:00"),
              "2011-03-22 02:30");
    Plan plan = Daily();
    plan.repeat = 60min;
    EXPECT_EQ(Next(plan, "2011-03-20 02:30", "2011-03-20 12:00"), "2011-03-20 11:30");
    EXPECT_EQ(Next(plan, "2011-03-20 02:30", "2011-03-21 01:00"), "2011-03-20 23:30");
}

TEST_F(NextRunTest, ItRepeatsByElapsedTimeUntilMidnight) {
    Plan plan = Daily();
    plan.repeat = 10h;
    EXPECT_EQ(Next(plan, "2011-03-26 02:30", "2011-03-26 12:00"), "2011-03-26 12:30");
    EXPECT_EQ(Next(plan, "2011-03-26 12:30", "2011-03-26 12:30"), "2011-03-26 22:30");
    EXPECT_EQ(Next(plan, "2011-03-26 22:30", "2011-03-26 23:00"), "2011-03-27 03:00");
    EXPECT_EQ(Next(plan, "2011-03-27 03:00", "2011-03-27 12:00"), "2011-03-27 13:00");
    // Two hours before midnight, by a clock that has gone back in between: three by elapsed time.
    plan.time = 0s;
    plan.repeat = 23h;
    EXPECT_EQ(Next(plan, "2011-10-30 00:00", "2011-10-30 00:00"), "2011-10-30 22:00");
    plan.repeat = 24h - 1min;
    EXPECT_EQ(Next(plan, "2011-03-27 00:00", "2011-03-27 00:00"), "2011-03-28 00:00");
    // Midnight itself is the next day's.
    plan.time = 23h;
    plan.repeat = 60min;
    plan.interval = 2;
    EXPECT_EQ(Next(plan, "2011-03-05 23:00", "2011-03-05 23:00"), "2011-03-07 23:00");
    plan.repeat = 59min;
    EXPECT_EQ(Next(plan, "2011-03-05 23:00", "2011-03-05 23:00"), "2011-03-05 23:59");
}

TEST_F(NextRunTest, ADayThatIsLeftOutIsDueWhenTheNextBegins) {
    m_zone = ZoneNamed("Pacific/Apia");
    const Plan plan = Weekly(std::chrono::Friday, 1);
    const auto due =
        NextRun(plan, {m_zone.FirstMomentOf(Local("2011-12-23 02:30:00")), Day("2011-12-23")},
                m_zone.FirstMomentOf(Local("2011-12-29 12:00:00")), m_zone);
    EXPECT_EQ(due, (Due{Utc("2011-12-30 10:00:00"), Day("2011-12-30")}));
    EXPECT_EQ(Next(plan, "2011-12-31 00:00", "2011-12-31 00:00"), "2012-01-06 02:30");
}

TEST_F(NextRunTest, AClockThatWasSetBackDoublesNoRun) {
    EXPECT_EQ(Next(Daily(), "2011-03-25 02:30", "2011-03-25 01:30"), "2011-03-26 02:30");
    EXPECT_EQ(Next(Daily(), "2011-03-25 02:30", "2011-03-24 02:30"), "2011-03-26 02:30");
}

TEST_F(NextRunTest, AClockThatWasFarAheadLosesNoRun) {
    EXPECT_EQ(Next(Daily(), "2031-01-01 02:30", "2011-03-25 12:00", Day("2031-01-01")),
              "2011-03-26 02:30");
    EXPECT_EQ(Next(Daily(), "2011-03-26 12:01", "2011-03-25 12:00", Day("2011-03-26")),
              "2011-03-26 02:30");
    // Also when it was made by such a clock.
    Plan plan = Daily();
    plan.interval = 3;
    plan.made = Day("2031-01-02");  // two days more than whole multiples of three from the 25th
    EXPECT_EQ(Next(plan, "2031-01-01 12:00", "2011-03-25 12:00"), "2011-03-27 03:00");
}

TEST_F(NextRunTest, AnotherZoneDoublesNoRun) {
    const Past past{Utc("2011-03-25 01:30:00"), Day("2011-03-25")};
    const Zone newYork = ZoneNamed("America/New_York");
    EXPECT_EQ(NextRun(Daily(), past, Utc("2011-03-25 02:00:00"), newYork),
              (Due{Utc("2011-03-26 06:30:00"), Day("2011-03-26")}));
}

TEST_F(NextRunTest, AnotherZoneLosesNoRun) {
    // In Berlin it is the 25th, in Kiritimati half past two of the 26th is over.
    const Past past{Utc("2011-03-25 01:30:00"), Day("2011-03-25")};
    const Zone kiritimati = ZoneNamed("Pacific/Kiritimati");
    EXPECT_EQ(NextRun(Daily(), past, Utc("2011-03-25 20:00:00"), kiritimati),
              (Due{Utc("2011-03-25 12:30:00"), Day("2011-03-26")}));
}

TEST_F(NextRunTest, InAnotherZoneARepeatGoesOn) {
    Plan plan = Daily();
    plan.repeat = 60min;
    const Past past{Utc("2011-03-25 01:30:00"), Day("2011-03-25")};
    const Zone newYork = ZoneNamed("America/New_York");
    EXPECT_EQ(NextRun(plan, past, Utc("2011-03-25 02:00:00"), newYork),
              (Due{Utc("2011-03-25 02:30:00"), Day("2011-03-24")}));
}

TEST_F(NextRunTest, APlanThatIsNotValidNeverRuns) {
    const auto isRefused = [&](auto change) {
        Plan plan = Daily();
        change(plan);
        const Boot boot{Utc("2011-03-25 01:00:00"), {}};
        return !IsValid(plan) && Next(plan, "2011-03-25 02:30", "2011-03-25 12:00") == "never" &&
               !NextRunOfBoot(plan, boot, boot.moment, m_zone);
    };
    EXPECT_TRUE(isRefused([](Plan& plan) { plan.interval = 0; }));
    EXPECT_TRUE(isRefused([](Plan& plan) { plan.interval = -1; }));
    EXPECT_TRUE(isRefused([](Plan& plan) { plan.interval = 91; }));
    EXPECT_TRUE(isRefused([](Plan& plan) {
        plan.frequency = Plan::Frequency::kWeekly;
        plan.interval = 16;
    }));
    EXPECT_TRUE(isRefused([](Plan& plan) { plan.time = -1s; }));
    EXPECT_TRUE(isRefused([](Plan& plan) { plan.time = 24h; }));
    EXPECT_TRUE(isRefused([](Plan& plan) { plan.repeat = -1min; }));
    EXPECT_TRUE(isRefused([](Plan& plan) { plan.repeat = 24h; }));
    EXPECT_TRUE(isRefused([](Plan& plan) { plan.weekday = std::chrono::weekday(9); }));
    Plan plan = Daily();
    plan.interval = 90;
    EXPECT_TRUE(IsValid(plan));
    plan = Weekly(std::chrono::Friday, 15);
    plan.time = 24h - 1s;
    plan.repeat = 24h - 1min;
    EXPECT_TRUE(IsValid(plan));
}

// With the machine.

class BootRunTest : public NextRunTest {
protected:
    static Plan AtBoot() {
        Plan plan = Daily();
        plan.start = Plan::Start::kAtBoot;
        return plan;
    }

    const std::chrono::sys_seconds m_boot = Utc("2011-03-25 08:00:00");  // nine o'clock
};

TEST_F(BootRunTest, ItIsDueOncePerBoot) {
    EXPECT_EQ(NextRunOfBoot(AtBoot(), {m_boot, {}}, m_boot + 20s, m_zone),
              (Due{m_boot, Day("2011-03-25")}));
    EXPECT_EQ(NextRunOfBoot(AtBoot(), {m_boot, 0s}, m_boot + 20s, m_zone), std::nullopt);
}

TEST_F(BootRunTest, ItIsDueOnDueDaysOnly) {
    Plan plan = AtBoot();
    plan.interval = 2;
    plan.made = Day("2011-03-24");
    EXPECT_EQ(NextRunOfBoot(plan, {m_boot, {}}, m_boot + 20s, m_zone), std::nullopt);
    EXPECT_EQ(NextRunOfBoot(plan, {m_boot + 24h, {}}, m_boot + 24h, m_zone),
              (Due{m_boot + 24h, Day("2011-03-26")}));
    // Nor when the machine is still up on the next due day.
    EXPECT_EQ(NextRunOfBoot(plan, {m_boot, {}}, m_boot + 24h, m_zone), std::nullopt);
    plan.frequency = Plan::Frequency::kWeekly;
    plan.interval = 1;
    plan.weekday = std::chrono::Friday;
    EXPECT_TRUE(NextRunOfBoot(plan, {m_boot, {}}, m_boot, m_zone));
    plan.weekday = std::chrono::Saturday;
    EXPECT_FALSE(NextRunOfBoot(plan, {m_boot, {}}, m_boot, m_zone));
}

TEST_F(BootRunTest, TheDayIsThatOfTheZone) {
    Plan plan = AtBoot();
    plan.interval = 2;
    plan.made = Day("2011-03-24");
    const auto late = Utc("2011-03-25 23:30:00");  // half past midnight of the 26th
    EXPECT_TRUE(NextRunOfBoot(plan, {late, {}}, late, m_zone));
    EXPECT_FALSE(NextRunOfBoot(plan, {late, {}}, late, Zone()));
}

TEST_F(BootRunTest, ItRepeatsFromTheBootUntilMidnight) {
    Plan plan = AtBoot();
    plan.repeat = 6h;
    const auto next = [&](std::chrono::seconds settled, std::chrono::seconds now) {
        return Text(NextRunOfBoot(plan, {m_boot, settled}, m_boot + now, m_zone));
    };
    EXPECT_EQ(next(0s, 20s), "2011-03-25 15:00");
    EXPECT_EQ(next(6h, 7h), "2011-03-25 21:00");
    EXPECT_EQ(next(12h, 13h), "never");
    // Missed ones are made up for once.
    EXPECT_EQ(next(0s, 14h), "2011-03-25 21:00");
    EXPECT_EQ(next(0s, 40h), "2011-03-25 21:00");
}

TEST_F(BootRunTest, AClockThatIsSetAfterTheBootChangesNothing) {
    // The same boot, seen by a clock that was put forward by three minutes since.
    EXPECT_EQ(NextRunOfBoot(AtBoot(), {m_boot + 3min, 0s}, m_boot + 4min, m_zone), std::nullopt);
}

}  // namespace
