#include "reports/virus_log/keep_newest.h"

#include <chrono>
#include <csignal>
#include <optional>
#include <sys/wait.h>

#include "reports/virus_log/virus_log.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

// The cut that leaves the newest records.

namespace {

using Clock = std::chrono::steady_clock;

std::string Waiting(std::uint32_t count) {
    std::string records;
    for (std::uint32_t i = 0; i < count; ++i) {
        records += Record('w');
    }
    return records;
}

// Cuts the log in another process, whose exit status is how many records it removed.
pid_t StartKeep(std::uint32_t keep) {
    return StartChild([keep] {
        virus_log::CutRecords cut;
        return virus_log::KeepNewest(keep, cut) ? static_cast<int>(cut.removed) : 255;
    });
}

class KeepNewestTest : public VirusLogTest {
protected:
    void SetUp() override {
        VirusLogTest::SetUp();
        if (!IsSkipped() && !HasFatalFailure()) {
            Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
            Put("VirRcONE.dat", m_log);
            Put("RecOffset.dat", U32(88) + U32(308) + U32(528));
        }
    }
    static void ExpectKept(std::uint32_t keep, std::uint32_t removed, std::uint32_t remaining) {
        virus_log::CutRecords cut{77, 77};
        EXPECT_TRUE(virus_log::KeepNewest(keep, cut));
        EXPECT_EQ(cut.removed, removed);
        EXPECT_EQ(cut.remaining, remaining);
    }
    void ExpectNothingWaits() const {
        EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
        EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
        EXPECT_EQ(Content("tempdel.dat"), "(missing)");
    }

    const std::string m_log = HeadBytes(3) + Record('a') + Record('b') + Record('c');
};

TEST_F(KeepNewestTest, RemovesTheOldestAndWaitsForNobody) {
    const auto begin = Clock::now();
    ExpectKept(2, 1, 2);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Record('b') + Record('c'));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(528));
    ExpectKept(2, 0, 2);
    ExpectKept(0, 2, 0);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(0));
    ExpectNothingWaits();
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
}

// Both are started before either can begin; each counts what the other has left.
TEST_F(KeepNewestTest, TwoAtOnceLeaveAsManyAsOneOfThem) {
    std::optional<HeldMutex> held(10011);
    ASSERT_TRUE(held->IsHeld());
    const pid_t first = StartKeep(2);
    const pid_t second = StartKeep(2);
    EXPECT_TRUE(WaitUntil([] { return IsMutexHeld(10022); }));
    held.reset();
    EXPECT_EQ(JoinChild(first) + JoinChild(second), 1) << "records that the two have removed";
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Record('b') + Record('c'));
    ExpectNothingWaits();
}

// The cut is stopped in the midst of its work, for which so many records take it long enough. It
// goes on when somebody waits to add one.
TEST_F(KeepNewestTest, ARecordAddedMeanwhileIsKept) {
#if defined(__SANITIZE_THREAD__)
    // Each takes far longer, and the rest of the work has to fit into the five seconds.
    constexpr std::uint32_t kCount = 1'000;
#else
    constexpr std::uint32_t kCount = 30'000;
#endif
    Put("VirRcTWO.dat", HeadBytes(kCount) + Waiting(kCount));
    const pid_t keep = StartKeep(kCount + 1);
    ASSERT_TRUE(WaitUntil([] { return IsMutexHeld(10011); }));
    int status = 0;
    ASSERT_EQ(::kill(keep, SIGSTOP), 0);
    ASSERT_EQ(::waitpid(keep, &status, WUNTRACED), keep);
    ASSERT_TRUE(WIFSTOPPED(status)) << "it was done too fast to be stopped";
    ASSERT_TRUE(IsMutexHeld(10011));
    ASSERT_TRUE(IsMutexHeld(10022)) << "both are held throughout";

    const auto begin = Clock::now();
    const pid_t adding =
        StartChild([] { return ZQVRAddRecVirusReport(8000, "/d", "V", "A") ? 0 : 1; });
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_EQ(::waitpid(adding, &status, WNOHANG), 0) << "it waits";
    EXPECT_EQ(::kill(keep, SIGCONT), 0);
    EXPECT_EQ(JoinChild(keep), 2);
    EXPECT_EQ(JoinChild(adding), 0);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5)) << "the longest that a record waits";

    const std::string log = Content("VirRcONE.dat");
    const std::string kept = Record('c') + Waiting(kCount);
    EXPECT_EQ(log.substr(0, 12), U32(0) + U32(kCount + 2) + U32(0));
    EXPECT_TRUE(log.substr(88, kept.size()) == kept);
    EXPECT_EQ(log.substr(88 + kept.size() + 210, 4), Wide("/d"));
    ExpectNothingWaits();
}

// A reset that was killed has left them going there.
TEST_F(KeepNewestTest, RecordsGoToTheMainFileAgainAlsoWhereNoneIsRemoved) {
    Put("VirMain.dat", MainBytes(1, "VirRcTWO.dat"));
    Put("VirRcTWO.dat", HeadBytes(1) + Record('d'));
    ExpectKept(4, 0, 4);
    EXPECT_EQ(Content("VirRcONE.dat"),
              HeadBytes(4) + Record('a') + Record('b') + Record('c') + Record('d'));
    ExpectNothingWaits();
    std::filesystem::remove(Log("VirMain.dat"));
    ExpectKept(4, 0, 4);
    ExpectNothingWaits();
}

TEST_F(KeepNewestTest, AnEmptyLogTakesWhatWaits) {
    for (const bool isThere : {true, false}) {
        Put("VirRcONE.dat", "");
        if (!isThere) {
            std::filesystem::remove(Log("VirRcONE.dat"));
        }
        Put("RecOffset.dat", "");
        Put("VirMain.dat", MainBytes(1, "VirRcTWO.dat"));
        Put("VirRcTWO.dat", HeadBytes(2) + Record('d') + Record('e'));
        ExpectKept(1, 1, 1);
        EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(1) + Record('e'));
        EXPECT_EQ(Content("RecOffset.dat").substr(0, 4), U32(88));
        ExpectNothingWaits();
    }
}

TEST_F(KeepNewestTest, WhatCannotBeMergedWaitsOn) {
    const std::string torn = HeadBytes(2) + Record('d') + "half";
    Put("VirRcTWO.dat", torn);
    ExpectKept(1, 2, 1);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(1) + Record('c'));
    EXPECT_EQ(Content("VirRcTWO.dat"), torn);
}

TEST_F(KeepNewestTest, ATornLogIsNotCut) {
    const std::string torn = HeadBytes(2) + Record('a') + "half";
    Put("VirRcONE.dat", torn);
    virus_log::CutRecords cut;
    EXPECT_FALSE(virus_log::KeepNewest(1, cut));
    EXPECT_EQ(Content("VirRcONE.dat"), torn);
    ExpectKept(2, 0, 2);  // no more than its head counts
    EXPECT_EQ(Content("VirRcONE.dat"), torn);
    ExpectNothingWaits();
}

TEST_F(KeepNewestTest, WithoutTheNameOfTheFileInUseNothingIsCut) {
    std::filesystem::remove(Log("VirMain.dat"));
    std::filesystem::create_directory(Log("VirMain.dat"));
    virus_log::CutRecords cut;
    EXPECT_FALSE(virus_log::KeepNewest(1, cut));
    EXPECT_EQ(Content("VirRcONE.dat"), m_log);
}

using KeepOnFullDiskTest = FullDiskLogTest;

TEST_F(KeepOnFullDiskTest, NoRecordIsGone) {
    const std::string log = HeadBytes(2) + Record('a') + Record('b');
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    Put("VirRcONE.dat", log);
    Put("RecOffset.dat", U32(88) + U32(308));
    Fill();
    virus_log::CutRecords cut;
    EXPECT_FALSE(virus_log::KeepNewest(1, cut));
    EXPECT_EQ(Content("VirRcONE.dat"), log);
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308));
    EXPECT_EQ(Content("tempdel.dat"), "(missing)");
}

}  // namespace
