#include "common/given/threads.h"

#include <atomic>
#include <gtest/gtest.h>
#include <pthread.h>

#include "tests/support/scratch.h"

namespace {

// What a thread that was started learns about itself.
struct Report {
    std::atomic<bool> done{false};
    int detachState = -1;
};

void* Start(void* argument) {
    auto* report = static_cast<Report*>(argument);
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getdetachstate(&attributes, &report->detachState);
    pthread_attr_destroy(&attributes);
    report->done = true;
    return argument;
}

TEST(MyAfxBeginThread, StartsAThreadToJoin) {
    Report report;
    const pthread_t thread = MyAfxBeginThread(&Start, &report, 5, 4096, 7, 1);
    ASSERT_NE(thread, 0U);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, &report);
    EXPECT_EQ(report.detachState, PTHREAD_CREATE_JOINABLE);
}

TEST(MyAfxBeginThread, DetachesUnlessTheFlagIsOne) {
    for (const int joinable : {0, 2, -1}) {
        Report report;
        ASSERT_NE(MyAfxBeginThread(&Start, &report, 0, 0, 0, joinable), 0U);
        ASSERT_TRUE(WaitUntil([&report] { return report.done.load(); }));
        EXPECT_EQ(report.detachState, PTHREAD_CREATE_DETACHED);
    }
}

TEST(MyAfxBeginThread, RefusesNoStartRoutine) {
    EXPECT_EQ(MyAfxBeginThread(nullptr, nullptr, 0, 0, 0, 1), 0U);
}

}  // namespace
