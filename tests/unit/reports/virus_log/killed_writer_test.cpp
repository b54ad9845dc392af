// What a writer leaves behind that is killed in the middle: at every system call of
// ZQVRAddRecVirusReport once, by strace.

#include <vector>

#include "reports/virus_log/delete_records.h"
#include "reports/virus_log/log_reader.h"
#include "reports/virus_log/record_count.h"
#include "reports/virus_log/size_limit.h"
#include "reports/virus_log/virus_log.h"
#include "tests/support/traced_program.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

namespace {

class KilledWriter : public VirusLogTest {
protected:
    void SetUp() override {
        VirusLogTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        if (!CanTrace()) {
            GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
        }
    }

    [[nodiscard]] std::vector<std::string> Program() const {
        return {ADD_ONE_RECORD, m_app.Path(), "/killed"};
    }

    // The system calls of the function itself.
    std::vector<SystemCall> CallsOfTheFunction() {
        const std::string path = m_app / "trace";
        EXPECT_EQ(RunTraced({"-o", path}, Program()), 0);
        return MarkedCallsIn(path, [](auto&&...) { return true; });
    }

    // Kills a writer when it is about to make `call`. Whether it left the mutex behind, which is
    // taken away then, as `corvane-virlog --unlock` does.
    bool KillAt(const SystemCall& call) {
        EXPECT_EQ(RunInjected(call, "signal=KILL", Program()), -1) << "nobody was killed";
        const bool isBehind = IsMutexHeld(10011);
        if (isBehind) {
            ::msgctl(::msgget(10011, 0), IPC_RMID, nullptr);
        }
        ::msgctl(::msgget(10022, 0), IPC_RMID, nullptr);
        return isBehind;
    }

    // The paths in the log as a reader sees them.
    static std::vector<std::string> Paths(virus_log::VirusLogContents& contents) {
        std::array<unsigned short, virus_log::kVirusReportPathSize> wide{};
        EXPECT_TRUE(ZQVRGetVirusReportFile(wide.data()));
        const std::string path(wide.begin(), std::find(wide.begin(), wide.end(), 0));
        EXPECT_EQ(virus_log::ReadVirusLogCopy(path.c_str(), contents),
                  virus_log::ReadLogResult::kOk);
        std::vector<std::string> paths;
        for (const virus_log::VirusLogEntry& entry : contents.entries) {
            paths.push_back(entry.filePath);
        }
        return paths;
    }

    // What each kill must leave: `kept`, and at most the record being added after it.
    void ExpectReadable(const std::vector<std::string>& kept, const SystemCall& call) {
        SCOPED_TRACE(call.name + " number " + std::to_string(call.number));
        virus_log::VirusLogContents contents;
        std::vector<std::string> paths = Paths(contents);
        std::vector<std::string> withKilled = kept;
        withKilled.emplace_back("/killed");
        EXPECT_TRUE(paths == kept || paths == withKilled) << testing::PrintToString(paths);
        // A record that is counted and not written is no damage. The table can lack its offset,
        // too: see the callers.
        EXPECT_EQ(contents.damagedBytes, 0U);
        EXPECT_EQ(contents.missing, 0U);

        ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/next", "V", "A"));
        paths.emplace_back("/next");
        EXPECT_EQ(Paths(contents), paths);
        EXPECT_EQ(contents.damagedBytes, 0U);
        EXPECT_EQ(contents.missing, 0U);
    }
};

TEST_F(KilledWriter, LeavesEveryEarlierRecordReadable) {
    SetLimits(1000, 500);
    const auto prepare = [this] {
        Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
        Put("VirRcONE.dat", HeadBytes(2) + RecordBytes("/a") + RecordBytes("/bb"));
        Put("RecOffset.dat", U32(88) + U32(308));
    };
    prepare();
    const std::vector<SystemCall> calls = CallsOfTheFunction();
    ASSERT_GT(calls.size(), 10U);
    int heldMutexes = 0;
    int countedOnly = 0;
    int recorded = 0;
    int noOffset = 0;
    for (const SystemCall& call : calls) {
        prepare();
        heldMutexes += KillAt(call) ? 1 : 0;
        const std::string log = Content("VirRcONE.dat");
        countedOnly += log.substr(4, 4) == U32(3) && log.size() == 530 ? 1 : 0;
        const bool isRecorded = log.size() > 530;
        recorded += isRecorded ? 1 : 0;
        const bool hasOffset = Content("RecOffset.dat").size() == 12;
        ExpectReadable({"/a", "/bb"}, call);

        // The record that came next has left a zero in the place of an offset that was not stored.
        const bool isCounted = log.substr(4, 4) == U32(3);
        EXPECT_EQ(isCounted && !hasOffset, Content("RecOffset.dat").substr(8, 4) == U32(0));
        noOffset += isRecorded && !hasOffset ? 1 : 0;
        // A record that is counted and missing is looked for by a deletion in vain, until a reset
        // has set the count right.
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1),
                  isCounted && !isRecorded ? kDeleteIoFailed : kDeleteDone);
        const std::uint32_t left = isCounted ? 3 : 2;
        EXPECT_EQ(virus_log::CorrectCounts(), left);
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), kDeleteDone);
        EXPECT_EQ(Content("VirRcONE.dat").substr(4, 4), U32(left - 1));
        EXPECT_EQ(Content("RecOffset.dat").substr(0, 4), U32(88));
    }
    EXPECT_GT(heldMutexes, 0) << "no kill hit the part under the mutex";
    EXPECT_LT(heldMutexes, static_cast<int>(calls.size()));
    // Between the write of the head and that of the record there is no other call.
    EXPECT_EQ(countedOnly, 1);
    EXPECT_GT(recorded, 0);
    EXPECT_GT(noOffset, 0);
}

TEST_F(KilledWriter, LeavesAFirstRecordOrNone) {
    const auto prepare = [this] {
        for (const char* name : {"VirMain.dat", "VirRcONE.dat", "RecOffset.dat"}) {
            ::unlink(Log(name).c_str());
        }
    };
    const std::vector<SystemCall> calls = CallsOfTheFunction();
    ASSERT_GT(calls.size(), 10U);
    for (const SystemCall& call : calls) {
        SCOPED_TRACE(call.name + " number " + std::to_string(call.number));
        prepare();
        KillAt(call);
        const bool isRecorded = Exists(Log("VirRcONE.dat")) && Content("VirRcONE.dat").size() > 88;
        ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/next", "V", "A"));
        virus_log::VirusLogContents contents;
        EXPECT_EQ(Paths(contents), isRecorded ? std::vector<std::string>({"/killed", "/next"})
                                              : std::vector<std::string>({"/next"}));
        EXPECT_EQ(contents.damagedBytes, 0U);
        EXPECT_EQ(contents.missing, 0U);
    }
}

TEST_F(KilledWriter, LosesNothingButWhatIsCutAway) {
    SetLimits(3, 2);
    // The record being added is the third; the 8 bytes before the end of the table are the second
    // one's offset and a zero, so the log is cut to start there.
    const auto prepare = [this] {
        Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
        Put("VirRcONE.dat", HeadBytes(2) + RecordBytes("/a") + RecordBytes("/bb"));
        ASSERT_EQ(::chmod(Log("VirRcONE.dat").c_str(), 0666), 0);
        Put("RecOffset.dat", U32(88) + U32(308) + U32(530) + U32(308) + U32(0));
        ::unlink(Log(virus_log::kTrimmedRecordFile).c_str());
        ::unlink(Log(virus_log::kTrimmedOffsetFile).c_str());
    };
    prepare();
    const std::vector<SystemCall> calls = CallsOfTheFunction();
    int cut = 0;
    int shared = 0;
    for (const SystemCall& call : calls) {
        SCOPED_TRACE(call.name + " number " + std::to_string(call.number));
        prepare();
        KillAt(call);
        // What a killed trim leaves shuts no other user out.
        const bool isLeft = Exists(Log(virus_log::kTrimmedOffsetFile));
        shared += isLeft && ModeOf(Log(virus_log::kTrimmedOffsetFile)) == 0666 ? 1 : 0;
        virus_log::VirusLogContents contents;
        const std::vector<std::string> paths = Paths(contents);
        const bool isCut = Content("VirRcONE.dat").substr(4, 4) == U32(2) && !paths.empty() &&
                           paths.front() == "/bb";
        cut += isCut ? 1 : 0;
        if (isCut) {
            EXPECT_EQ(paths, std::vector<std::string>({"/bb", "/killed"}));
        } else {
            EXPECT_TRUE(paths == std::vector<std::string>({"/a", "/bb"}) ||
                        paths == std::vector<std::string>({"/a", "/bb", "/killed"}))
                << testing::PrintToString(paths);
        }
        EXPECT_EQ(contents.damagedBytes, 0U);
    }
    EXPECT_GT(cut, 0) << "the log was never cut";
    EXPECT_GT(shared, 0);
}

TEST_F(KilledWriter, ItsMutexKeepsOthersOutUntilItIsRemoved) {
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    const std::vector<SystemCall> calls = CallsOfTheFunction();
    const SystemCall* write = nullptr;
    for (const SystemCall& call : calls) {
        write = call.name == "pwrite64" ? &call : write;
    }
    ASSERT_NE(write, nullptr);
    EXPECT_EQ(RunInjected(*write, "signal=KILL", Program()), -1);
    ASSERT_TRUE(IsMutexHeld(10011));
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/next", "V", "A"));
    ASSERT_EQ(::msgctl(::msgget(10011, 0), IPC_RMID, nullptr), 0);
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/next", "V", "A"));
}

}  // namespace
