#include "product/virlog/failure_reason.h"

#include <chrono>
#include <gtest/gtest.h>

#include "tests/unit/product/virlog/run_virlog.h"

namespace {

using namespace std::chrono_literals;

using FailureReason = VirlogProgramTest;

// When nothing else is wrong and no lock is held any more, the time spent waiting tells.
TEST_F(FailureReason, IsTheWaitWhenItTookAsLongAsALockIsWaitedFor) {
    WriteLog({Record(u"/tmp/a")});
    for (const auto waited : {10'000ms, 20'000ms}) {
        EXPECT_EQ(ReasonOfFailure(waited), "the virus log was in use all the time; try again");
    }
    for (const auto waited : {0ms, 5'000ms, 9'999ms}) {
        EXPECT_EQ(ReasonOfFailure(waited),
                  "the virus log could not be copied in /usr/lib/Corvane/Corvane/reports/");
    }
}

TEST_F(FailureReason, IsALockThatIsStillHeldHoweverLongItWas) {
    WriteLog({Record(u"/tmp/a")});
    const Queue queue(kRecordKey);
    EXPECT_TRUE(ReasonOfFailure(0s).starts_with("another process holds the virus log: lock "));
    EXPECT_TRUE(ReasonOfFailure(20s).starts_with("another process holds the virus log: lock "));
}

}  // namespace
