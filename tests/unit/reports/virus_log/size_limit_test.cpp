#include <cstdint>
#include <string>
#include <unistd.h>

#include "reports/virus_log/virus_log.h"
#include "tests/unit/reports/virus_log/size_limit_fixture.h"

// When a log is cut, and where.

namespace {

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

TEST_F(SizeLimit, TheSecondFileIsCutAsWell) {
    PutLog(HeadBytes(1) + Record('a'), U64(308));
    Put("VirRcTWO.dat", HeadBytes(4) + FourRecords());
    SetLimits(4, 2);
    EXPECT_TRUE(Trim("VirRcTWO.dat"));
    EXPECT_EQ(Content("VirRcTWO.dat"), HeadBytes(2) + Record('b') + Record('c') + Record('d'));
    ExpectTrimmed(HeadBytes(1) + Record('a'), U64(88));
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

}  // namespace
