#include "reports/virus_log/reset.h"

#include <sys/stat.h>

#include "reports/virus_log/virus_log.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

// What a reset and a merge do at once. A whole reset takes 10 seconds: see whole_reset_test.cpp.

namespace {

class Merging : public VirusLogTest {
protected:
    void PutLogs(const std::string& into, const std::string& from) {
        m_into = into;
        m_from = from;
        Put("VirRcONE.dat", into);
        Put("VirRcTWO.dat", from);
        Put("RecOffset.dat", U32(88) + U32(308));
    }
    static int Merge() { return MergeFiles("VirRcONE.dat", "VirRcTWO.dat"); }

    // The merge has failed and cost nothing.
    void ExpectUnchanged() const {
        EXPECT_EQ(Content("VirRcONE.dat"), m_into);
        EXPECT_EQ(Content("VirRcTWO.dat"), m_from);
        EXPECT_FALSE(IsMutexHeld(10011));
        EXPECT_FALSE(Exists(Log("VirMain.dat")));
    }

    std::string m_into = "(missing)";
    std::string m_from = "(missing)";
};

TEST_F(Merging, RecordsAreAppendedWithTheirOffsets) {
    PutLogs(HeadBytes(2) + Record('a') + Record('b'),
            HeadBytes(3) + Record('c') + RecordBytes("/longer") + Record('e'));
    EXPECT_EQ(Merge(), 1);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(5) + Record('a') + Record('b') + Record('c') +
                                           RecordBytes("/longer") + Record('e'));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(528) + U32(748) + U32(978));
    EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
    EXPECT_FALSE(IsMutexHeld(10011));
    EXPECT_FALSE(IsMutexHeld(10022));
    EXPECT_FALSE(Exists(Log("VirMain.dat")));
}

TEST_F(Merging, AnEmptyLogReceivesThemToo) {
    PutLogs(HeadBytes(0), HeadBytes(1) + Record('c'));
    EXPECT_EQ(Merge(), 1);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(1) + Record('c'));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308)) << "the first entry is written anew";
    EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
}

TEST_F(Merging, OnlyTheCountChangesInTheHead) {
    const std::string identity = std::string(76, 'i');
    PutLogs(U32(7) + U32(2) + U32(9) + identity + Record('a') + Record('b'),
            HeadBytes(1) + Record('c'));
    EXPECT_EQ(Merge(), 1);
    EXPECT_EQ(Content("VirRcONE.dat"),
              U32(7) + U32(3) + U32(9) + identity + Record('a') + Record('b') + Record('c'));
}

TEST_F(Merging, OnlyCountedRecordsAreTaken) {
    PutLogs(HeadBytes(2) + Record('a') + Record('b'), HeadBytes(1) + Record('c') + Record('d'));
    EXPECT_EQ(Merge(), 1);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(3) + Record('a') + Record('b') + Record('c'));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(528));
}

TEST_F(Merging, TheyGoToTheEndOfTheFileAndTheirOffsetsBehindTheCount) {
    // A writer that was killed has left a count too high and half a record.
    PutLogs(HeadBytes(3) + Record('a') + Record('b') + "half", HeadBytes(1) + Record('c'));
    EXPECT_EQ(Merge(), 1);
    EXPECT_EQ(Content("VirRcONE.dat"),
              HeadBytes(4) + Record('a') + Record('b') + "half" + Record('c'));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(0) + U32(532));
}

TEST_F(Merging, LongRecordsAreCopiedWhole) {
    const std::string longer = RecordBytes("/" + std::string(200'000, 'l'));
    PutLogs(HeadBytes(2) + Record('a') + Record('b'), HeadBytes(2) + longer + Record('d'));
    EXPECT_EQ(Merge(), 1);
    EXPECT_EQ(Content("VirRcONE.dat"),
              HeadBytes(4) + Record('a') + Record('b') + longer + Record('d'));
    // 528 and the long one's 216 + 400,002 bytes.
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(528) + U32(400'746));
}

TEST_F(Merging, AFileWithoutRecordsIsOnlyRemoved) {
    for (const std::string& from : {HeadBytes(0), HeadBytes(0).substr(0, 12), HeadBytes(0) + "x"}) {
        PutLogs(HeadBytes(2) + Record('a') + Record('b'), from);
        ASSERT_EQ(::unlink(Log("RecOffset.dat").c_str()), 0);
        EXPECT_EQ(Merge(), 1);
        EXPECT_EQ(Content("VirRcONE.dat"), m_into);
        EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
        EXPECT_EQ(Content("RecOffset.dat"), "(missing)");
    }
}

TEST_F(Merging, AMissingTableIsMade) {
    PutLogs(HeadBytes(1) + Record('a'), HeadBytes(1) + Record('c'));
    ASSERT_EQ(::unlink(Log("RecOffset.dat").c_str()), 0);
    EXPECT_EQ(Merge(), 1);
    EXPECT_EQ(Content("RecOffset.dat"), U32(0) + U32(308));
    EXPECT_EQ(ModeOf(Log("RecOffset.dat")), 0644U);
}

TEST_F(Merging, OtherFilesCanBeNamed) {
    Put("one", HeadBytes(1) + Record('a'));
    Put("two", HeadBytes(1) + Record('b'));
    EXPECT_EQ(MergeFiles("two", "one"), 1);
    EXPECT_EQ(Content("two"), HeadBytes(2) + Record('b') + Record('a'));
    EXPECT_EQ(Content("one"), "(missing)");
}

TEST_F(Merging, EachFileIsNeeded) {
    EXPECT_EQ(Merge(), 0);
    ExpectUnchanged();
    PutLogs(HeadBytes(1) + Record('a'), HeadBytes(1) + Record('c'));
    ASSERT_EQ(::unlink(Log("VirRcTWO.dat").c_str()), 0);
    m_from = "(missing)";
    EXPECT_EQ(Merge(), 0);
    ExpectUnchanged();
    PutLogs(HeadBytes(1) + Record('a'), HeadBytes(1) + Record('c'));
    ASSERT_EQ(::unlink(Log("VirRcONE.dat").c_str()), 0);
    m_into = "(missing)";
    EXPECT_EQ(Merge(), 0);
    ExpectUnchanged();
    EXPECT_EQ(MergeFiles(nullptr, "VirRcTWO.dat"), 0);
    EXPECT_EQ(MergeFiles("VirRcONE.dat", nullptr), 0);
    ExpectUnchanged();
}

TEST_F(Merging, EachCounterIsNeeded) {
    PutLogs(HeadBytes(1) + Record('a'), HeadBytes(1).substr(0, 11));
    EXPECT_EQ(Merge(), 0);
    ExpectUnchanged();
    PutLogs(HeadBytes(1).substr(0, 11), HeadBytes(1) + Record('a'));
    EXPECT_EQ(Merge(), 0);
    ExpectUnchanged();
}

TEST_F(Merging, ATornRecordTakesTheOthersBack) {
    const std::string whole = HeadBytes(2) + Record('c') + Record('d');
    for (const std::size_t size : {88U, 100U, 308U, 517U, 518U, 520U, 527U}) {
        PutLogs(HeadBytes(2) + Record('a') + Record('b'), whole.substr(0, size));
        EXPECT_EQ(Merge(), 0) << size;
        ExpectUnchanged();
        EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308));
    }
}

TEST_F(Merging, ImpossibleLengthsAreATornRecord) {
    const std::string fixed = Record('d').substr(8);
    for (const std::string& lengths :
         {U32(0xFFFFFFFF) + U32(6), U32(4) + U32(0xFFFFFFFF), U32(0xFFFFFFFF) + U32(0xFFFFFFFF),
          U32(0xFFFFFF2E) + U32(0)}) {
        std::string from = HeadBytes(2) + Record('c');
        from.append(lengths).append(fixed);
        PutLogs(HeadBytes(2) + Record('a') + Record('b'), from);
        EXPECT_EQ(Merge(), 0);
        ExpectUnchanged();
    }
}

TEST_F(Merging, ACountThatCannotGrowIsLeftAlone) {
    for (const std::uint32_t count : {0xFFFFFFFFU, 0xFFFFFFF0U, 309U}) {
        PutLogs(HeadBytes(count) + Record('a'), HeadBytes(1) + Record('c'));
        EXPECT_EQ(Merge(), 0) << count;
        ExpectUnchanged();
        // An offset behind such a count would make the table up to 16 GiB long.
        EXPECT_EQ(std::filesystem::file_size(Log("RecOffset.dat")), 8U);
    }
}

TEST_F(Merging, ATableThatCannotBeOpenedIs135) {
    PutLogs(HeadBytes(2) + Record('a') + Record('b'), HeadBytes(1) + Record('c'));
    ASSERT_EQ(::unlink(Log("RecOffset.dat").c_str()), 0);
    ASSERT_EQ(::mkdir(Log("RecOffset.dat").c_str(), 0777), 0);
    EXPECT_EQ(Merge(), 135);
    ExpectUnchanged();
}

TEST_F(Merging, NothingIsReadOrWrittenThroughALink) {
    const std::string precious = HeadBytes(1) + Record('p');
    WriteFile(m_app / "precious", precious);
    PutLogs(HeadBytes(1) + Record('a'), HeadBytes(1) + Record('c'));
    for (const char* name : {"VirRcONE.dat", "VirRcTWO.dat"}) {
        const std::string content = Content(name);
        ASSERT_EQ(::unlink(Log(name).c_str()), 0);
        ASSERT_EQ(::symlink("../precious", Log(name).c_str()), 0);
        EXPECT_EQ(Merge(), 0) << name;
        EXPECT_EQ(ReadFile(m_app / "precious"), precious);
        ASSERT_EQ(::unlink(Log(name).c_str()), 0);
        Put(name, content);
    }
    ExpectUnchanged();
}

using MergingOnAFullDisk = FullDiskLogTest;

TEST_F(MergingOnAFullDisk, CostsNothing) {
    const std::string longer = RecordBytes("/" + std::string(6'000, 'l'));
    Put("VirRcONE.dat", HeadBytes(1) + Record('a'));
    Put("RecOffset.dat", U32(88));
    Put("VirRcTWO.dat", HeadBytes(2) + Record('c') + longer);
    Fill();
    EXPECT_EQ(MergeFiles("VirRcONE.dat", "VirRcTWO.dat"), 0);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(1) + Record('a'));
    EXPECT_EQ(Content("VirRcTWO.dat"), HeadBytes(2) + Record('c') + longer);
    ASSERT_EQ(::unlink(Log("filler").c_str()), 0);
    EXPECT_EQ(MergeFiles("VirRcONE.dat", "VirRcTWO.dat"), 1);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(3) + Record('a') + Record('c') + longer);
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(528));
}

class Resetting : public VirusLogTest {
protected:
    void PutLog(const std::string& log) {
        m_log = log;
        Put("VirRcONE.dat", log);
        Put("RecOffset.dat", U32(88) + U32(308));
    }
    // `main` is what "VirMain.dat" must hold.
    void ExpectUnchanged(const std::string& main) const {
        EXPECT_EQ(Content("VirRcONE.dat"), m_log);
        EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308));
        EXPECT_EQ(Content("VirMain.dat"), main);
        EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
        EXPECT_EQ(Content("tempdel.dat"), "(missing)");
        EXPECT_FALSE(IsMutexHeld(10011));
        EXPECT_FALSE(IsMutexHeld(10022));
    }

    std::string m_log;
};

TEST_F(Resetting, NeedsRoomForTheNumberThatStays) {
    PutLog(HeadBytes(2) + Record('a') + Record('b'));
    EXPECT_FALSE(ZQVRResetLog(1, nullptr));
    ExpectUnchanged("(missing)");
}

TEST_F(Resetting, AMissingLogIsMadeAndHasNoCounter) {
    unsigned int remaining = 77;
    const mode_t mask = ::umask(0);
    EXPECT_FALSE(ZQVRResetLog(0, &remaining));
    ::umask(mask);
    EXPECT_EQ(Content("VirRcONE.dat"), "");
    EXPECT_EQ(ModeOf(Log("VirRcONE.dat")), 0644U);
    EXPECT_EQ(Content("VirMain.dat"), "(missing)");
    EXPECT_EQ(remaining, 77U);
    PutLog(HeadBytes(0).substr(0, 11));
    EXPECT_FALSE(ZQVRResetLog(0, &remaining));
    ExpectUnchanged("(missing)");
    EXPECT_EQ(remaining, 77U);
}

TEST_F(Resetting, MoreThanThereAreChangesNothing) {
    PutLog(HeadBytes(2) + Record('a') + Record('b'));
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    unsigned int remaining = 77;
    EXPECT_FALSE(ZQVRResetLog(3, &remaining));
    EXPECT_FALSE(ZQVRResetLog(0xFFFFFFFF, &remaining));
    ExpectUnchanged(MainBytes(0, "VirRcONE.dat"));
    EXPECT_EQ(remaining, 77U);
    EXPECT_FALSE(PerformResetLog(3)) << "nor when the count was higher a moment ago";
    ExpectUnchanged(MainBytes(0, "VirRcONE.dat"));
}

TEST_F(Resetting, TheMainFileIsBackToNormalWhenRecordsCannotBeRemoved) {
    PutLog((HeadBytes(2) + Record('a') + Record('b')).substr(0, 400));
    unsigned int remaining = 0;
    EXPECT_FALSE(ZQVRResetLog(1, &remaining));
    ExpectUnchanged(MainBytes(0, "VirRcONE.dat"));
    EXPECT_EQ(ModeOf(Log("VirMain.dat")), 0644U);

    PutLog(HeadBytes(2) + Record('a') + Record('b'));
    ASSERT_EQ(::mkdir(Log("tempdel.dat").c_str(), 0777), 0);
    EXPECT_FALSE(ZQVRResetLog(1, &remaining));
    ASSERT_EQ(::rmdir(Log("tempdel.dat").c_str()), 0);
    ExpectUnchanged(MainBytes(0, "VirRcONE.dat"));

    ASSERT_EQ(::unlink(Log("VirRcONE.dat").c_str()), 0);
    m_log = "(missing)";
    EXPECT_FALSE(PerformResetLog(0));
    ExpectUnchanged(MainBytes(0, "VirRcONE.dat"));
}

TEST_F(Resetting, AFailedOneTakesBackWhatOthersAddedMeanwhile) {
    PutLog(HeadBytes(2) + Record('a') + Record('b'));
    Put("VirRcTWO.dat", HeadBytes(1) + Record('c'));
    ASSERT_EQ(::mkdir(Log("tempdel.dat").c_str(), 0777), 0);
    EXPECT_FALSE(PerformResetLog(1));
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(3) + Record('a') + Record('b') + Record('c'));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(528));
    EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
}

TEST_F(Resetting, WithoutItsMainFileNothingIsRemoved) {
    WriteFile(m_app / "precious", "precious");
    PutLog(HeadBytes(2) + Record('a') + Record('b'));
    ASSERT_EQ(::symlink("../precious", Log("VirMain.dat").c_str()), 0);
    EXPECT_FALSE(PerformResetLog(1));
    ASSERT_EQ(::unlink(Log("VirMain.dat").c_str()), 0);
    ExpectUnchanged("(missing)");
    EXPECT_EQ(ReadFile(m_app / "precious"), "precious");
}

TEST_F(Resetting, IsNotDoneThroughALink) {
    WriteFile(m_app / "precious", HeadBytes(2) + Record('a') + Record('b'));
    ASSERT_EQ(::symlink("../precious", Log("VirRcONE.dat").c_str()), 0);
    unsigned int remaining = 77;
    EXPECT_FALSE(ZQVRResetLog(1, &remaining));
    EXPECT_EQ(ReadFile(m_app / "precious"), HeadBytes(2) + Record('a') + Record('b'));
    EXPECT_EQ(Content("VirMain.dat"), "(missing)");
}

using ResettingOnAFullDisk = FullDiskLogTest;

TEST_F(ResettingOnAFullDisk, CostsNothing) {
    const std::string log = HeadBytes(2) + Record('a') + Record('b');
    Put("VirRcONE.dat", log);
    Put("RecOffset.dat", U32(88) + U32(308));
    Fill();
    unsigned int remaining = 0;
    EXPECT_FALSE(ZQVRResetLog(1, &remaining)) << "no room for VirMain.dat";
    EXPECT_EQ(Content("VirRcONE.dat"), log);
    ASSERT_EQ(::unlink(Log("filler").c_str()), 0);
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    Fill();
    EXPECT_FALSE(ZQVRResetLog(1, &remaining)) << "no room for tempdel.dat";
    EXPECT_EQ(Content("VirRcONE.dat"), log);
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308));
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
}

}  // namespace
