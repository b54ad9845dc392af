#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <optional>
#include <string_view>
#include <sys/wait.h>

#include "common/named_mutex.h"
#include "reports/virus_log/delete_records.h"
#include "reports/virus_log/reset.h"
#include "reports/virus_log/size_limit.h"
#include "reports/virus_log/virus_log.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

// Resets that succeed. Each takes 10 seconds, because its merge waits for the mutex that it holds.

namespace {

// What happens just before somebody gives back a mutex.
std::function<void(std::string_view key)> atRelease;

}  // namespace

// The linker sends all calls of ReleaseMutexOwnerShip here, which hands them on (--wrap).
int NotedRelease(tagMUTEX_INFO* mutex) asm("__wrap__Z21ReleaseMutexOwnerShipP13tagMUTEX_INFO");
int RealRelease(tagMUTEX_INFO* mutex) asm("__real__Z21ReleaseMutexOwnerShipP13tagMUTEX_INFO");
int NotedRelease(tagMUTEX_INFO* mutex) {
    if (atRelease) {
        atRelease(mutex->key);
    }
    return RealRelease(mutex);
}

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

class WholeReset : public VirusLogTest {
protected:
    void TearDown() override {
        atRelease = nullptr;
        VirusLogTest::TearDown();
    }

    // Starts a reset and lets it come as far as waiting for a record that is just being added.
    // `wrong` is a log whose count is wrong, which shows when the reset has looked at it, and
    // `log` the same with the right one.
    pid_t StartAndHold(const std::string& wrong, const std::string& log, unsigned int count,
                       unsigned int remaining, std::optional<HeldMutex>& adding) {
        Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
        Put("VirRcONE.dat", wrong);
        std::optional<HeldMutex> main(10022);
        EXPECT_TRUE(main->IsHeld());
        const pid_t reset = StartReset(count, remaining);
        EXPECT_TRUE(WaitUntil([&] { return Content("VirRcONE.dat") == log; }));
        WaitUntil([] { return !IsMutexHeld(10011); });
        adding.emplace(10011);
        EXPECT_TRUE(adding->IsHeld());
        main.reset();
        EXPECT_TRUE(
            WaitUntil([this] { return Content("VirMain.dat") == MainBytes(1, "VirRcTWO.dat"); }));
        EXPECT_TRUE(IsMutexHeld(10022));
        return reset;
    }
};

TEST_F(WholeReset, WhatIsAddedMeanwhileGoesToTheSecondFileAndThenToTheEnd) {
    const std::string three = Record('a') + Record('b') + Record('c');
    Put("RecOffset.dat", U32(88) + U32(308) + U32(528));
    // A record is just being added; the reset has to wait for it and tells others meanwhile.
    std::optional<HeldMutex> adding;
    const pid_t reset = StartAndHold(HeadBytes(4) + three, HeadBytes(3) + three, 2, 1, adding);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(3) + three);

    // The next one is added before the reset goes on.
    EXPECT_TRUE(Stop(reset));
    adding.reset();
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/d", "V", "A"));
    const std::string second = Content("VirRcTWO.dat");
    EXPECT_EQ(second.substr(0, 12), U32(0) + U32(1) + U32(0));
    EXPECT_EQ(second.substr(88 + 210, 4), Wide("/d"));
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(3) + three);
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
    EXPECT_GE(waited.count(), 9.5) << "the first merge waits for the mutex that the reset holds";

    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Record('c') + second.substr(88));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(528));
    EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
    EXPECT_FALSE(Exists(Log("tempdel.dat")));
    EXPECT_FALSE(IsMutexHeld(10011));
    EXPECT_FALSE(IsMutexHeld(10022));
}

// The main file is back to normal before the second merge begins, and nobody else can reset the log
// until it is done. So many records take a while to merge.
TEST_F(WholeReset, TheSecondMergeIsStillPartOfIt) {
    constexpr std::uint32_t kCount = 30'000;
    std::string waiting;
    for (std::uint32_t i = 0; i < kCount; ++i) {
        waiting += Record('w');
    }
    Put("VirRcONE.dat", HeadBytes(1) + Record('a'));
    Put("RecOffset.dat", U32(88));
    Put("VirRcTWO.dat", HeadBytes(kCount) + waiting);
    // At each release a line: which mutex, whether a reset was under way and a second file was
    // there.
    atRelease = [this](std::string_view key) {
        std::ofstream(m_app / "releases", std::ios::app)
            << key << (Content("VirMain.dat").starts_with(U32(1)) ? " resetting" : " normal")
            << (Exists(Log("VirRcTWO.dat")) ? " waiting\n" : " merged\n");
    };
    const pid_t reset = StartReset(0, 1);
    EXPECT_TRUE(WaitUntil([this] { return Content("VirMain.dat").starts_with(U32(1)); }));
    EXPECT_TRUE(WaitUntil([this] { return Content("VirMain.dat").starts_with(U32(0)); },
                          std::chrono::seconds(60)));
    const bool isHeld = IsMutexHeld(10022);
    ASSERT_TRUE(Exists(Log("VirRcTWO.dat"))) << "it was merged too fast to see anything";
    EXPECT_TRUE(isHeld);
    EXPECT_EQ(JoinChild(reset), 0);
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
    EXPECT_TRUE(Content("VirRcONE.dat") == HeadBytes(kCount + 1) + Record('a') + waiting);
    EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
    // The counts are set, others have let go, the first merge was in vain, and the second was not.
    EXPECT_EQ(ReadFile(m_app / "releases"),
              "10011 normal waiting\n"
              "10011 resetting waiting\n"
              "10011 normal waiting\n"
              "10011 normal merged\n"
              "10022 normal merged\n");
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

// A writer that was killed has left both files with one record counted too many.
TEST_F(WholeReset, CountsThatAreTooHighAreSetRight) {
    Put("VirRcONE.dat", HeadBytes(3) + Record('a') + Record('b'));
    Put("RecOffset.dat", U32(88) + U32(308));
    Put("VirRcTWO.dat", HeadBytes(9) + Record('c'));
    EXPECT_EQ(JoinChild(StartReset(1, 1)), 0);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Record('b') + Record('c'));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308));
    EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
}

// A trim sets the count to LIMIT, however many records it keeps.
TEST_F(WholeReset, ATrimmedLogIsResetAndAddedTo) {
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    Put("VirRcONE.dat", HeadBytes(4) + Record('a') + Record('b') + Record('c') + Record('d'));
    Put("RecOffset.dat", U64(88) + U64(308) + U64(528) + U64(748));
    SetLimits(4, 4);
    std::string name = "VirRcONE.dat";
    ASSERT_TRUE(ResetVirusLog(name.data()));
    const std::string trimmed = HeadBytes(4) + Record('c') + Record('d');
    ASSERT_EQ(Content("VirRcONE.dat"), trimmed);
    ASSERT_EQ(Content("RecOffset.dat"), U64(88) + U64(308));

    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), kDeleteIoFailed) << "it goes by the count";
    EXPECT_EQ(Content("VirRcONE.dat"), trimmed);
    SetLimits(1000, 500);
    EXPECT_EQ(JoinChild(StartReset(1, 1)), 0);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(1) + Record('d'));
    EXPECT_EQ(Content("RecOffset.dat").substr(0, 4), U32(88));

    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/e", "V", "A"));
    const std::string log = Content("VirRcONE.dat");
    EXPECT_EQ(log.substr(0, 8), U32(0) + U32(2));
    EXPECT_EQ(log.substr(88, 220), Record('d'));
    EXPECT_EQ(log.substr(308 + 210, 4), Wide("/e"));
    EXPECT_EQ(Content("RecOffset.dat").substr(0, 8), U32(88) + U32(308));
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), kDeleteDone);
    EXPECT_EQ(Content("VirRcONE.dat").substr(0, 8), U32(0) + U32(1));
    EXPECT_EQ(Content("VirRcONE.dat").substr(88), log.substr(308));
}

}  // namespace
