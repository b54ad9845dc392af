#include <chrono>
#include <csignal>
#include <sys/wait.h>

#include "reports/virus_log/reset.h"
#include "reports/virus_log/virus_log.h"
#include "tests/unit/virus_log/virus_log_fixture.h"

// Resets that succeed. Each takes 10 seconds, because its merge waits for the mutex that it holds.

namespace {

using Clock = std::chrono::steady_clock;

// Resets the log in another process. Its exit status is 0 when `remaining` records stay.
pid_t StartReset(unsigned int count, unsigned int remaining) {
    return StartChild([count, remaining] {
        unsigned int stays = 77;
        return ZQVRResetLog(count, &stays) && stays == remaining ? 0 : 1;
    });
}

// Holds a process still.
bool Stop(pid_t process) {
    int status = 0;
    return ::kill(process, SIGSTOP) == 0 && ::waitpid(process, &status, WUNTRACED) == process &&
           WIFSTOPPED(status);
}

using WholeReset = VirusLogTest;

TEST_F(WholeReset, WhatIsAddedMeanwhileWaitsInTheSecondFile) {
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    Put("VirRcONE.dat", HeadBytes(3) + Record('a') + Record('b') + Record('c'));
    Put("RecOffset.dat", U32(88) + U32(308) + U32(528));

    // A record is just being added; the reset has to wait for it and tells others meanwhile.
    HeldMutex adding(10011);
    ASSERT_TRUE(adding.IsHeld());
    const pid_t reset = StartReset(2, 1);
    EXPECT_TRUE(
        WaitUntil([this] { return Content("VirMain.dat") == MainBytes(1, "VirRcTWO.dat"); }));
    EXPECT_TRUE(IsMutexHeld(10022));
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(3) + Record('a') + Record('b') + Record('c'));

    // The next one is added before the reset goes on.
    EXPECT_TRUE(Stop(reset));
    adding.Release();
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/d", "V", "A"));
    const std::string second = Content("VirRcTWO.dat");
    EXPECT_EQ(second.substr(0, 12), U32(0) + U32(1) + U32(0));
    EXPECT_EQ(second.substr(88 + 210, 4), Wide("/d"));
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(3) + Record('a') + Record('b') + Record('c'));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(528));
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(1, "VirRcTWO.dat"));

    EXPECT_EQ(::kill(reset, SIGCONT), 0);
    EXPECT_TRUE(
        WaitUntil([this] { return Content("VirRcONE.dat") == HeadBytes(1) + Record('c'); }));
    const auto merging = Clock::now();
    EXPECT_TRUE(WaitUntil([] { return IsMutexHeld(10011); }));
    EXPECT_TRUE(IsMutexHeld(10022));
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(1, "VirRcTWO.dat"));
    EXPECT_EQ(JoinChild(reset), 0);
    const std::chrono::duration<double> waited = Clock::now() - merging;
    EXPECT_GE(waited.count(), 9.5) << "the merge waits for the mutex that the reset holds";

    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(1) + Record('c'));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(528));
    EXPECT_EQ(Content("VirRcTWO.dat"), second) << "and gives up, so this one stays";
    EXPECT_FALSE(Exists(Log("tempdel.dat")));
    EXPECT_FALSE(IsMutexHeld(10011));
    EXPECT_FALSE(IsMutexHeld(10022));

    EXPECT_EQ(MergeFiles("VirRcONE.dat", "VirRcTWO.dat"), 1);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Record('c') + second.substr(88));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(528));
    EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
}

TEST_F(WholeReset, AsManyAsThereAreLeaveAnEmptyLog) {
    Put("VirRcONE.dat", HeadBytes(2) + Record('a') + Record('b'));
    Put("RecOffset.dat", U32(88) + U32(308));
    const auto begin = Clock::now();
    EXPECT_EQ(JoinChild(StartReset(2, 0)), 0);
    const std::chrono::duration<double> waited = Clock::now() - begin;
    EXPECT_GE(waited.count(), 9.5);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(0));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308));
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
    EXPECT_EQ(ModeOf(Log("VirMain.dat")), 0644U);
    EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
    EXPECT_EQ(Content("tempdel.dat"), "(missing)");
}

}  // namespace
