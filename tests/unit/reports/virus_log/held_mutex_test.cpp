#include <chrono>
#include <functional>
#include <vector>

#include "reports/virus_log/keep_newest.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/record_count.h"
#include "reports/virus_log/reset.h"
#include "reports/virus_log/virus_log.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

// Somebody holds a mutex of the log and does not give it back. Those who wait for the same one wait
// side by side, each in a process of its own.

namespace {

using Clock = std::chrono::steady_clock;

// Whether `work` fails, and after about the 10 seconds that it is to wait.
bool FailsAfterTenSeconds(const std::function<bool()>& work) {
    const auto begin = Clock::now();
    if (work()) {
        return false;
    }
    const std::chrono::duration<double> waited = Clock::now() - begin;
    return waited.count() >= 9.9 && waited.count() < 25;
}

class HeldMutexTest : public VirusLogTest {
protected:
    void SetUp() override {
        VirusLogTest::SetUp();
        if (!IsSkipped() && !HasFatalFailure()) {
            Put("VirRcONE.dat", m_log);
            Put("RecOffset.dat", m_table);
            Put("VirRcTWO.dat", m_second);
        }
    }
    // Each of `works` must fail, after the time that it waits.
    static void ExpectAllFail(const std::vector<std::function<bool()>>& works) {
        std::vector<pid_t> children;
        children.reserve(works.size());
        for (const auto& work : works) {
            children.push_back(StartChild([&work] { return FailsAfterTenSeconds(work) ? 0 : 1; }));
        }
        for (std::size_t i = 0; i < children.size(); ++i) {
            EXPECT_EQ(JoinChild(children[i]), 0) << "the one with index " << i;
        }
    }
    void ExpectUnchanged() const {
        EXPECT_EQ(Content("VirRcONE.dat"), m_log);
        EXPECT_EQ(Content("RecOffset.dat"), m_table);
        EXPECT_EQ(Content("VirRcTWO.dat"), m_second);
        EXPECT_EQ(Content("tempdel.dat"), "(missing)");
    }

    const std::string m_log = HeadBytes(2) + Record('a') + Record('b');
    const std::string m_table = U32(88) + U32(308);
    const std::string m_second = HeadBytes(1) + Record('c');
};

TEST_F(HeldMutexTest, WithoutThatOfTheMainFileNothingIsDone) {
    HeldMutex held(10022);
    ASSERT_TRUE(held.IsHeld());
    Put("cpyONE.dat", "another reader's");
    ExpectAllFail({
        [] {
            std::array<char, virus_log::kLogFileNameSize> name{};
            return GetFileNameFromMainFile(name.data());
        },
        [] { return PerformResetLog(1); },
        [] {
            unsigned int remaining = 0;
            return ZQVRResetLog(1, &remaining);
        },
        [] {
            virus_log::CutRecords cut;
            return virus_log::KeepNewest(1, cut);
        },
        [] {
            std::array<unsigned short, virus_log::kVirusReportPathSize> path{};
            return ZQVRGetVirusReportFile(path.data());
        },
        [] {
            const pid_t adding =
                StartChild([] { return ZQVRAddRecVirusReport(8000, "/d", "V", "A") ? 1 : 0; });
            // It alone takes the other one first.
            const bool isTaken = WaitUntil([] { return IsMutexHeld(10011); });
            return JoinChild(adding) != 0 || !isTaken;
        },
    });
    ExpectUnchanged();
    EXPECT_EQ(Content("VirMain.dat"), "(missing)");
    EXPECT_EQ(Content("cpyONE.dat"), "another reader's");
    EXPECT_EQ(Content("cpyOFFST.dat"), "(missing)");
    EXPECT_FALSE(IsMutexHeld(10011)) << "taken in vain and not given back";
    EXPECT_TRUE(IsMutexHeld(10022)) << "it is its owner's";
}

TEST_F(HeldMutexTest, WithoutThatOfTheRecordsNothingIsMergedOrReset) {
    HeldMutex held(10011);
    ASSERT_TRUE(held.IsHeld());
    ExpectAllFail({
        [] { return MergeFiles("VirRcONE.dat", "VirRcTWO.dat") != 0; },
        [this] {
            const pid_t reset = StartChild([] { return PerformResetLog(1) ? 1 : 0; });
            // New records are to go to the second file while the reset waits, and not afterwards.
            const bool isTold = WaitUntil(
                [this] { return Content("VirMain.dat") == MainBytes(1, "VirRcTWO.dat"); });
            return JoinChild(reset) != 0 || !isTold;
        },
        [] { return virus_log::CorrectCounts().has_value(); },
        [] {
            unsigned int remaining = 0;
            return ZQVRResetLog(1, &remaining);
        },
    });
    ExpectUnchanged();
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
    EXPECT_FALSE(IsMutexHeld(10022));
    EXPECT_TRUE(IsMutexHeld(10011)) << "it is its owner's";
}

TEST_F(HeldMutexTest, WithoutThatOfTheRecordsNothingIsCut) {
    HeldMutex held(10011);
    ASSERT_TRUE(held.IsHeld());
    Put("VirMain.dat", MainBytes(1, "VirRcTWO.dat"));
    ExpectAllFail({[] {
        virus_log::CutRecords cut;
        return virus_log::KeepNewest(1, cut);
    }});
    ExpectUnchanged();
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(1, "VirRcTWO.dat"));
    EXPECT_FALSE(IsMutexHeld(10022)) << "taken in vain and not given back";
    EXPECT_TRUE(IsMutexHeld(10011)) << "it is its owner's";
}

TEST_F(HeldMutexTest, WithoutThatOfTheRecordsNothingIsCopied) {
    HeldMutex held(10011);
    ASSERT_TRUE(held.IsHeld());
    Put("cpyONE.dat", "another reader's");
    ExpectAllFail({[] {
        const pid_t reading = StartChild([] {
            std::array<unsigned short, virus_log::kVirusReportPathSize> path{};
            return ZQVRGetVirusReportFile(path.data()) ? 1 : 0;
        });
        const bool isInOrder = WaitUntil([] { return IsMutexHeld(10022); });
        return JoinChild(reading) != 0 || !isInOrder;
    }});
    ExpectUnchanged();
    EXPECT_EQ(Content("cpyONE.dat"), "another reader's");
    EXPECT_EQ(Content("cpyOFFST.dat"), "(missing)");
    EXPECT_FALSE(IsMutexHeld(10022)) << "taken in vain and not given back";
    EXPECT_TRUE(IsMutexHeld(10011)) << "it is its owner's";
}

}  // namespace
