#include "product/rapidupdate/planner.h"

#include <gtest/gtest.h>

// When the automatic updates run, in seconds since the machine was started.

namespace rapidupdate {
namespace {

constexpr double kAlmostOne = 0.999999;

TEST(Planner, TheFirstRunIsSomeMinutesAfterBoot) {
    EXPECT_EQ(FirstRun(Seconds(12), 0).count(), 300);
    EXPECT_EQ(FirstRun(Seconds(12), 0.5).count(), 450);
    EXPECT_EQ(FirstRun(Seconds(12), kAlmostOne).count(), 599);
}

TEST(Planner, AServiceThatIsStartedLaterWaitsAMinuteOrTwo) {
    EXPECT_EQ(FirstRun(Seconds(7200), 0).count(), 7260);
    EXPECT_EQ(FirstRun(Seconds(7200), kAlmostOne).count(), 7319);
    EXPECT_EQ(FirstRun(Seconds(290), 0).count(), 350) << "not at once because boot was long ago";
}

TEST(Planner, AfterARunTheNextIsFourHoursLaterGiveOrTakeAQuarter) {
    EXPECT_EQ(NextRun(Seconds(1000), Outcome::kDone, 0, 0).count(), 1000 + 10800);
    EXPECT_EQ(NextRun(Seconds(1000), Outcome::kDone, 0, 0.5).count(), 1000 + 14400);
    EXPECT_EQ(NextRun(Seconds(1000), Outcome::kDone, 0, kAlmostOne).count(), 1000 + 17999);
}

TEST(Planner, FailuresInARowGrowFromFiveMinutes) {
    const long expected[] = {300, 600, 1200, 2400, 4800, 9600};
    for (unsigned int failures = 1; failures <= 6; ++failures) {
        const long pause = expected[failures - 1];
        EXPECT_EQ(NextRun(Seconds(7), Outcome::kFailed, failures, 0).count(), 7 + pause);
        EXPECT_EQ(NextRun(Seconds(7), Outcome::kFailed, failures, 0.8).count(),
                  7 + pause + pause / 5);
    }
}

TEST(Planner, ManyFailuresAreTriedAgainAsOftenAsIfThereWereNone) {
    for (const unsigned int failures : {7U, 8U, 40U, 4'000'000'000U}) {
        EXPECT_EQ(NextRun(Seconds(0), Outcome::kFailed, failures, 0).count(), 10800);
        EXPECT_EQ(NextRun(Seconds(0), Outcome::kFailed, failures, kAlmostOne).count(), 17999);
    }
}

TEST(Planner, WhatIsPutOffIsLookedAtAgainSoon) {
    EXPECT_EQ(NextRun(Seconds(50), Outcome::kMetered, 3, 0.9).count(), 650);
    EXPECT_EQ(NextRun(Seconds(50), Outcome::kOff, 0, 0.1).count(), 650);
}

}  // namespace
}  // namespace rapidupdate
