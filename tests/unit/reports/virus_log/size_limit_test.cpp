#include "reports/virus_log/size_limit.h"

#include <sys/mount.h>
#include <sys/stat.h>

#include "reports/virus_log/virus_log.h"
#include "tests/support/failing_calls.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

namespace {

// Four records; they lie at 88, 308, 528 and 748, and end at 968.
std::string FourRecords() {
    return Record('a') + Record('b') + Record('c') + Record('d');
}

class SizeLimit : public VirusLogTest {
protected:
    void PutLog(const std::string& log, const std::string& table) {
        m_log = log;
        m_table = table;
        Put("VirRcONE.dat", log);
        Put("RecOffset.dat", table);
    }
    // A log of four records with the given table, and a trim to LIMIT.
    bool TrimFour(const std::string& table, int limit) {
        PutLog(HeadBytes(4) + FourRecords(), table);
        SetLimits(4, limit);
        return Trim();
    }
    static bool Trim(std::string name = "VirRcONE.dat") { return ResetVirusLog(name.data()); }

    void ExpectUnchanged() const {
        EXPECT_EQ(Content("VirRcONE.dat"), m_log);
        EXPECT_EQ(Content("RecOffset.dat"), m_table);
    }
    // The trim gave up once it had opened its temporary file.
    void ExpectGivenUp() const {
        ExpectUnchanged();
        EXPECT_EQ(Content("tmprpt.dat"), "");
        EXPECT_EQ(Content("tmpoffset.dat"), "(missing)");
    }
    // Nothing was begun.
    void ExpectUntouched() const {
        ExpectUnchanged();
        EXPECT_EQ(Content("tmprpt.dat"), "(missing)");
        EXPECT_EQ(Content("tmpoffset.dat"), "(missing)");
    }
    void ExpectTrimmed(const std::string& log, const std::string& table) const {
        EXPECT_EQ(Content("VirRcONE.dat"), log);
        EXPECT_EQ(Content("RecOffset.dat"), table);
        EXPECT_EQ(Content("tmprpt.dat"), "(missing)");
        EXPECT_EQ(Content("tmpoffset.dat"), "(missing)");
    }

    std::string m_log = "(missing)";
    std::string m_table = "(missing)";
};

TEST_F(SizeLimit, BelowTheMaximumNothingIsDone) {
    PutLog(HeadBytes(4) + FourRecords(), U32(88) + U32(308) + U32(528) + U32(0));
    SetLimits(5, 2);
    EXPECT_TRUE(Trim());
    ExpectUntouched();
    SetLimits(2'147'483'647, 2);
    EXPECT_TRUE(Trim());
    ExpectUntouched();
}

TEST_F(SizeLimit, ATableOfOrdinaryEntriesIsNotCut) {
    const std::string table = U32(88) + U32(308) + U32(528) + U32(748);
    for (const int limit : {2, 3, 4}) {
        EXPECT_FALSE(TrimFour(table, limit)) << limit;
        ExpectGivenUp();
    }
}

TEST_F(SizeLimit, ATemporaryThatWasThereIsLeftEmpty) {
    Put("tmprpt.dat", "what an earlier trim left");
    EXPECT_FALSE(TrimFour(U32(88) + U32(308) + U32(528) + U32(748), 2));
    ExpectGivenUp();
}

TEST_F(SizeLimit, AnEntryFollowedByZeroIsCutAt) {
    EXPECT_TRUE(TrimFour(U32(88) + U32(308) + U32(528) + U32(0), 2));
    ExpectTrimmed(HeadBytes(2) + Record('c') + Record('d'), U64(88));
}

TEST_F(SizeLimit, AtAndAboveTheMaximumAreCutAlike) {
    PutLog(HeadBytes(4) + FourRecords(), U32(528) + U32(0));
    SetLimits(3, 2);
    EXPECT_TRUE(Trim());
    ExpectTrimmed(HeadBytes(2) + Record('c') + Record('d'), U64(88));
}

TEST_F(SizeLimit, AMaximumOfZeroOrLessCutsAlways) {
    for (const int maxLimit : {0, -1, -2'147'483'647 - 1}) {
        PutLog(HeadBytes(4) + FourRecords(), U32(308) + U32(0));
        SetLimits(maxLimit, 2);
        EXPECT_TRUE(Trim()) << maxLimit;
        ExpectTrimmed(HeadBytes(2) + Record('b') + Record('c') + Record('d'), U64(88));
    }
}

TEST_F(SizeLimit, ACountBeyondSignedNumbersIsAboveTheMaximum) {
    PutLog(HeadBytes(0xFFFFFFFF) + FourRecords(), U32(308) + U32(0));
    SetLimits(2'147'483'647, 2);
    EXPECT_TRUE(Trim());
    ExpectTrimmed(HeadBytes(2) + Record('b') + Record('c') + Record('d'), U64(88));
}

TEST_F(SizeLimit, TheNewTableEndsWhereTheOldOneDoes) {
    // LIMIT 4 is four narrow entries and thereby two wide ones.
    EXPECT_TRUE(TrimFour(U64(88) + U64(308) + U64(528) + U64(748), 4));
    ExpectTrimmed(HeadBytes(4) + Record('c') + Record('d'), U64(88) + U64(308));
}

TEST_F(SizeLimit, EveryEntryIsLoweredByWhatWasCut) {
    // The first kept one lies at 308, so 220 bytes go; entries that make no sense are lowered too.
    EXPECT_TRUE(TrimFour(U32(5) + U64(308) + U32(528) + U32(748) + U64(0) + U64(220), 8));
    ExpectTrimmed(HeadBytes(8) + Record('b') + Record('c') + Record('d'),
                  U64(88) + U32(308) + U32(748) + U64(0xFFFFFFFFFFFFFF24) + U64(0));
}

TEST_F(SizeLimit, ATableOfWideEntriesCanHoldAllThatStay) {
    EXPECT_TRUE(TrimFour(U64(308) + U64(528) + U64(748), 6));
    ExpectTrimmed(HeadBytes(6) + Record('b') + Record('c') + Record('d'),
                  U64(88) + U64(308) + U64(528));
}

TEST_F(SizeLimit, AnOddLimitReadsAcrossEntries) {
    // Three narrow entries before the end: 308 and 0, then four bytes that are no entry any more.
    EXPECT_TRUE(TrimFour(U32(88) + U32(308) + U32(0) + U32(748), 3));
    ExpectTrimmed(HeadBytes(3) + Record('b') + Record('c') + Record('d'), U64(88));
}

TEST_F(SizeLimit, TheFirstRecordCanBeTheFirstKept) {
    EXPECT_TRUE(TrimFour(U64(88) + U64(308), 4));
    ExpectTrimmed(HeadBytes(4) + FourRecords(), U64(88) + U64(308));
}

TEST_F(SizeLimit, TheOffsetIsOnlyHeldAgainstTheFilesSize) {
    // Into the head, into a record, and the last byte.
    EXPECT_TRUE(TrimFour(U64(1), 2));
    ExpectTrimmed(HeadBytes(2) + HeadBytes(4).substr(1) + FourRecords(), U64(88));
    EXPECT_TRUE(TrimFour(U64(100), 2));
    ExpectTrimmed(HeadBytes(2) + FourRecords().substr(12), U64(88));
    EXPECT_TRUE(TrimFour(U64(967), 2));
    ExpectTrimmed(HeadBytes(2) + FourRecords().substr(879), U64(88));
}

TEST_F(SizeLimit, AnOffsetOutsideTheFileIsNotCutAt) {
    for (const std::uint64_t value :
         {std::uint64_t{0}, std::uint64_t{968}, std::uint64_t{969}, std::uint64_t{0xFFFFFFFF},
          std::uint64_t{0x7FFFFFFFFFFFFFFF}, std::uint64_t{0x8000000000000000},
          std::uint64_t{0xFFFFFFFFFFFFFFFF}}) {
        EXPECT_FALSE(TrimFour(U64(value), 2)) << value;
        ExpectGivenUp();
    }
}

TEST_F(SizeLimit, ALimitThatLeavesNoEightBytesIsNotCutAt) {
    const std::string table = U32(88) + U32(0) + U32(528) + U32(0);
    for (const int limit : {1, 0, -1, -2'147'483'647 - 1, 5, 2'147'483'647}) {
        EXPECT_FALSE(TrimFour(table, limit)) << limit;
        ExpectGivenUp();
    }
    EXPECT_FALSE(TrimFour("", 2)) << "an empty table";
    ExpectGivenUp();
}

TEST_F(SizeLimit, TheHeadsOtherBytesStay) {
    const std::string identity = std::string(76, 'i');
    PutLog(U32(7) + U32(4) + U32(9) + identity + FourRecords(), U64(528));
    SetLimits(4, 2);
    EXPECT_TRUE(Trim());
    ExpectTrimmed(U32(7) + U32(2) + U32(9) + identity + Record('c') + Record('d'), U64(88));
}

TEST_F(SizeLimit, WhatIsKeptCanBeLong) {
    const std::string longer = RecordBytes("/" + std::string(200'000, 'l'));
    PutLog(HeadBytes(3) + Record('a') + longer + Record('b'), U64(308));
    SetLimits(3, 2);
    EXPECT_TRUE(Trim());
    ExpectTrimmed(HeadBytes(2) + longer + Record('b'), U64(88));
}

TEST_F(SizeLimit, OlderTemporariesAreEmptiedFirst) {
    Put("tmprpt.dat", std::string(5'000, 't'));
    Put("tmpoffset.dat", std::string(5'000, 't'));
    EXPECT_TRUE(TrimFour(U64(528), 2));
    ExpectTrimmed(HeadBytes(2) + Record('c') + Record('d'), U64(88));
}

TEST_F(SizeLimit, WithoutATableItIsNotCut) {
    PutLog(HeadBytes(4) + FourRecords(), "");
    ASSERT_EQ(::unlink(Log("RecOffset.dat").c_str()), 0);
    SetLimits(4, 2);
    EXPECT_FALSE(Trim());
    EXPECT_EQ(Content("VirRcONE.dat"), m_log);
    EXPECT_EQ(Content("tmprpt.dat"), "");
    EXPECT_EQ(Content("tmpoffset.dat"), "(missing)");
}

TEST_F(SizeLimit, WithoutItsLimitsItIsNotLookedAt) {
    PutLog(HeadBytes(4) + FourRecords(), U64(528));
    EXPECT_FALSE(Trim());
    ExpectUntouched();
    WriteFile(m_app / "section.ini", "[LOGLIMIT]\nMAXLIMIT = 4\n");
    EXPECT_FALSE(Trim());
    ExpectUntouched();
}

TEST_F(SizeLimit, WhatHasNoHeadIsNotCut) {
    SetLimits(0, 2);
    EXPECT_FALSE(Trim()) << "no file";
    ExpectUntouched();
    EXPECT_FALSE(ResetVirusLog(nullptr));
    ExpectUntouched();
    for (const std::size_t size : {0U, 11U, 12U, 87U}) {
        PutLog(HeadBytes(4).substr(0, size), U64(1));
        EXPECT_FALSE(Trim()) << size;
        ExpectUntouched();
    }
}

TEST_F(SizeLimit, NothingIsWrittenThroughALink) {
    WriteFile(m_app / "precious", "precious");
    for (const char* name : {"tmprpt.dat", "tmpoffset.dat"}) {
        ASSERT_EQ(::symlink("../precious", Log(name).c_str()), 0);
        EXPECT_TRUE(TrimFour(U64(528), 2)) << "the link to " << name << " is out of the way";
        EXPECT_EQ(ReadFile(m_app / "precious"), "precious");
    }
    EXPECT_FALSE(std::filesystem::is_symlink(Log("VirRcONE.dat")));
    EXPECT_FALSE(std::filesystem::is_symlink(Log("RecOffset.dat")));
}

TEST_F(SizeLimit, WhatOneUserLeavesBehindServesTheOthers) {
    PutLog(HeadBytes(4) + FourRecords(), U32(88) + U32(308) + U32(528) + U32(748));
    ASSERT_EQ(::chmod(Log("VirRcONE.dat").c_str(), 0666), 0);
    SetLimits(4, 2);
    EXPECT_FALSE(Trim("VirRcONE.dat"));
    EXPECT_EQ(Content("tmprpt.dat"), "");
    EXPECT_EQ(ModeOf(Log("tmprpt.dat")), 0666U);
    ASSERT_EQ(::chmod(Log("VirRcONE.dat").c_str(), 0644), 0);
    EXPECT_FALSE(Trim("VirRcONE.dat"));
    EXPECT_EQ(ModeOf(Log("tmprpt.dat")), 0644U);
}

TEST_F(SizeLimit, TheSecondFileIsCutAsWell) {
    PutLog(HeadBytes(1) + Record('a'), U64(308));
    Put("VirRcTWO.dat", HeadBytes(4) + FourRecords());
    SetLimits(4, 2);
    EXPECT_TRUE(Trim("VirRcTWO.dat"));
    EXPECT_EQ(Content("VirRcTWO.dat"), HeadBytes(2) + Record('b') + Record('c') + Record('d'));
    ExpectTrimmed(HeadBytes(1) + Record('a'), U64(88));
}

TEST_F(SizeLimit, TheFilesGetTheModeOfACopy) {
    EXPECT_TRUE(TrimFour(U64(528), 2));
    EXPECT_EQ(ModeOf(Log("VirRcONE.dat")), 0755U);
    EXPECT_EQ(ModeOf(Log("RecOffset.dat")), 0755U);
}

TEST_F(SizeLimit, WhatAllCouldWriteTheyStillCan) {
    PutLog(HeadBytes(4) + FourRecords(), U64(528));
    ASSERT_EQ(::chmod(Log("VirRcONE.dat").c_str(), 0666), 0);
    ASSERT_EQ(::chmod(Log("RecOffset.dat").c_str(), 0664), 0);
    SetLimits(4, 2);
    EXPECT_TRUE(Trim());
    EXPECT_EQ(ModeOf(Log("VirRcONE.dat")), 0777U);
    EXPECT_EQ(ModeOf(Log("RecOffset.dat")), 0775U);
}

TEST_F(SizeLimit, TheOwnersStay) {
    PutLog(HeadBytes(4) + FourRecords(), U64(528));
    SetLimits(4, 2);
    for (const char* name : {"VirRcONE.dat", "RecOffset.dat"}) {
        if (::geteuid() != 0 || ::chown(Log(name).c_str(), 12'345, 54'321) != 0) {
            GTEST_SKIP() << "no right to give files away";
        }
    }
    EXPECT_TRUE(Trim());
    for (const char* name : {"VirRcONE.dat", "RecOffset.dat"}) {
        struct stat status {};
        ASSERT_EQ(::stat(Log(name).c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, 12'345U) << name;
        EXPECT_EQ(status.st_gid, 54'321U) << name;
    }
}

// What the disk does not take must not be given the name of the log's files.
TEST_F(SizeLimit, WhatDoesNotReachTheDiskReplacesNothing) {
    for (const int nth : {1, 2}) {
        FailCall(Call::kFsync, EIO, nth);
        EXPECT_FALSE(TrimFour(U64(88) + U64(308) + U64(528) + U64(748), 4)) << nth;
        EXPECT_FALSE(IsStillToFail(Call::kFsync)) << nth;
        ExpectUntouched();
    }
    FailNothing();
}

// The third and the fourth are those of the folder, after each of the two files has its new name.
TEST_F(SizeLimit, TheNewNamesAreSeenOnDiskToo) {
    for (const int nth : {3, 4}) {
        FailCall(Call::kFsync, EIO, nth);
        EXPECT_TRUE(TrimFour(U64(88) + U64(308) + U64(528) + U64(748), 4)) << nth;
        EXPECT_FALSE(IsStillToFail(Call::kFsync)) << nth;
        ExpectTrimmed(HeadBytes(4) + Record('c') + Record('d'), U64(88) + U64(308));
    }
    FailNothing();
}

TEST_F(SizeLimit, FilesThatCannotBeReplacedAreCopiedOver) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "files are only mounted on in a private root";
    }
    PutLog(HeadBytes(4) + FourRecords(), U64(528));
    SetLimits(4, 2);
    // What something is mounted on cannot be renamed over.
    for (const char* name : {"VirRcONE.dat", "RecOffset.dat"}) {
        ASSERT_EQ(::chmod(Log(name).c_str(), 0666), 0);
        if (::mount(Log(name).c_str(), Log(name).c_str(), nullptr, MS_BIND, nullptr) != 0) {
            GTEST_SKIP() << "no right to mount a file";
        }
    }
    EXPECT_TRUE(Trim());
    for (const char* name : {"VirRcONE.dat", "RecOffset.dat"}) {
        ASSERT_EQ(::umount2(Log(name).c_str(), MNT_DETACH), 0);
        EXPECT_EQ(ModeOf(Log(name)), 0777U);
    }
    ExpectTrimmed(HeadBytes(2) + Record('c') + Record('d'), U64(88));
}

// A log that all users share, in a folder as installation makes it.
class SharedSizeLimit : public SizeLimit {
protected:
    void SetUp() override {
        SizeLimit::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        if (::geteuid() != 0) {
            GTEST_SKIP() << "no right to become another user";
        }
        PutLog("", "");
        SetLimits(4, 2);
        ASSERT_EQ(::chmod(m_app.Path().c_str(), 0755), 0);
        ASSERT_EQ(::chmod((m_app / "reports").c_str(), 01777), 0);
        for (const char* name : {"VirRcONE.dat", "RecOffset.dat"}) {
            ASSERT_EQ(::chmod(Log(name).c_str(), 0666), 0);
        }
    }
    // What a trim by `user` answers, 2 when nobody can be that user.
    static int TrimAs(uid_t user) {
        return InChild([user] { return ::setuid(user) != 0 ? 2 : static_cast<int>(Trim()); });
    }
    // A file that `user` has left.
    void LeaveBehind(std::string_view name, uid_t user) const {
        Put(name, std::string(5'000, 'l'));
        ASSERT_EQ(::chown(Log(name).c_str(), user, user), 0);
        ASSERT_EQ(::chmod(Log(name).c_str(), 0666), 0);
    }
};

TEST_F(SharedSizeLimit, AnotherUserCutsTheLog) {
    PutLog(HeadBytes(4) + FourRecords(), U64(528));
    EXPECT_EQ(TrimAs(12'345), 1);
    ExpectTrimmed(HeadBytes(2) + Record('c') + Record('d'), U64(88));
    EXPECT_EQ(ModeOf(Log("VirRcONE.dat")), 0666U);
}

TEST_F(SharedSizeLimit, WhatAGivenUpTrimLeavesKeepsNobodyFromCutting) {
    PutLog(HeadBytes(4) + FourRecords(), U32(88) + U32(308) + U32(528) + U32(748));
    EXPECT_EQ(TrimAs(12'345), 0);
    ExpectGivenUp();
    for (const uid_t user : {23'456U, 34'567U}) {
        PutLog(HeadBytes(4) + FourRecords(), U32(88) + U32(308) + U32(528) + U32(0));
        EXPECT_EQ(TrimAs(user), 1) << user;
        EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Record('c') + Record('d'));
        EXPECT_EQ(Content("RecOffset.dat"), U64(88));
        EXPECT_EQ(Content("tmprpt.dat"), "") << "the first user's, which nobody else can remove";
        EXPECT_EQ(Content("tmpoffset.dat"), "(missing)");
    }
}

TEST_F(SharedSizeLimit, WhatAKilledTrimLeavesIsEmptied) {
    LeaveBehind("tmprpt.dat", 12'345);
    LeaveBehind("tmpoffset.dat", 12'345);
    PutLog(HeadBytes(4) + FourRecords(), U64(528));
    EXPECT_EQ(TrimAs(23'456), 1);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Record('c') + Record('d'));
    EXPECT_EQ(Content("RecOffset.dat"), U64(88));
    EXPECT_EQ(Content("tmprpt.dat"), "");
    EXPECT_EQ(Content("tmpoffset.dat"), "");
}

TEST_F(SizeLimit, ARecordIsInThoughTheLogCouldNotBeCut) {
    PutLog(HeadBytes(1) + Record('a'), U32(88));
    SetLimits(2, 2);
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat").substr(4, 4), U32(2));
    EXPECT_EQ(Content("VirRcONE.dat").substr(88, 220), Record('a'));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308));
    EXPECT_EQ(Content("tmprpt.dat"), "");
}

TEST_F(SizeLimit, TheFileThatReceivedTheRecordIsCut) {
    Put("VirMain.dat", MainBytes(1, "VirRcTWO.dat"));
    PutLog(HeadBytes(9) + FourRecords(), U64(308));
    Put("VirRcTWO.dat", HeadBytes(3) + FourRecords());
    SetLimits(4, 2);
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/e", "V", "A"));
    EXPECT_EQ(Content("VirRcTWO.dat").substr(4, 4), U32(2));
    EXPECT_EQ(Content("VirRcTWO.dat").substr(88, 660), Record('b') + Record('c') + Record('d'));
    EXPECT_EQ(Content("VirRcONE.dat"), m_log);
}

TEST_F(SizeLimit, AddingTheRecordThatReachesTheMaximumCutsTheLog) {
    // The table of a log that was cut before. The new entry goes to 4 times its index, into the
    // upper half of a wide one, and makes that one unusable.
    PutLog(HeadBytes(5) + FourRecords(), U64(88) + U64(308) + U64(528));
    SetLimits(6, 2);
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/e", "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat").substr(4, 4), U32(6));
    EXPECT_EQ(Content("RecOffset.dat"), U64(88) + U64(308) + U32(528) + U32(968));
    EXPECT_EQ(Content("tmprpt.dat"), "");

    // Five narrow entries before the end of seven there is 308 with a zero behind it.
    SetLimits(7, 5);
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/f", "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat").substr(4, 4), U32(5));
    EXPECT_EQ(Content("VirRcONE.dat").substr(88, 660), Record('b') + Record('c') + Record('d'));
    EXPECT_EQ(Content("RecOffset.dat"), U64(88) + U32(308) + U32(968));
    EXPECT_EQ(Content("tmprpt.dat"), "(missing)");
}

using SizeLimitOnAFullDisk = FullDiskLogTest;

TEST_F(SizeLimitOnAFullDisk, NothingIsLost) {
    const std::string longer = RecordBytes("/" + std::string(6'000, 'l'));
    const std::string log = HeadBytes(3) + Record('a') + longer + Record('b');
    constexpr std::uintmax_t kPage = 4096;
    // What is kept needs four pages and its table one.
    for (const std::uintmax_t pages : {0U, 1U, 3U, 4U}) {
        Put("VirRcONE.dat", log);
        Put("RecOffset.dat", U64(308));
        SetLimits(3, 2);
        Fill();
        const std::uintmax_t filled = std::filesystem::file_size(Log("filler")) / kPage;
        std::filesystem::resize_file(Log("filler"), (filled - pages) * kPage);
        std::string name = "VirRcONE.dat";
        EXPECT_FALSE(ResetVirusLog(name.data())) << pages;
        EXPECT_EQ(Content("VirRcONE.dat"), log);
        EXPECT_EQ(Content("RecOffset.dat"), U64(308));
        EXPECT_FALSE(Exists(Log("tmpoffset.dat")));
    }
    std::filesystem::resize_file(Log("filler"), 0);
    std::string name = "VirRcONE.dat";
    EXPECT_TRUE(ResetVirusLog(name.data()));
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + longer + Record('b'));
    EXPECT_EQ(Content("RecOffset.dat"), U64(88));
}

}  // namespace
