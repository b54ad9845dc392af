#include "tests/support/patient_clock.h"

#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/scratch.h"

// The clock that tests hold a program to.

namespace {

using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;

TEST(PatientClock, GoesOnAndIsNeverAheadOfTheSteadyOne) {
    const auto steady = Steady::now();
    const auto begin = PatientClock::now();
    ASSERT_TRUE(WaitUntil([&] { return PatientClock::now() - begin >= 200ms; }, 60s));
    const auto patient = PatientClock::now() - begin;
    // The nap that was under way at the beginning counts as a whole one.
    EXPECT_LE(patient, Steady::now() - steady + 5ms);
}

TEST(PatientClock, StandsStillWhileTheProcessIsHalted) {
    const auto steady = Steady::now();
    const auto begin = PatientClock::now();
    const pid_t other = StartChild([halted = ::getpid()] {
        ::kill(halted, SIGSTOP);
        std::this_thread::sleep_for(1s);
        ::kill(halted, SIGCONT);
        return 0;
    });
    EXPECT_EQ(JoinChild(other), 0);
    EXPECT_GE(Steady::now() - steady, 1s);
    EXPECT_LT(PatientClock::now() - begin, 500ms);
}

}  // namespace
