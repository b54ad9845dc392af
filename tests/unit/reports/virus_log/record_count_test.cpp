#include "reports/virus_log/record_count.h"

#include <sys/stat.h>

#include "reports/virus_log/virus_log.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

namespace {

class RecordCount : public VirusLogTest {
protected:
    // What the main file, put as `log`, is counted to hold and is afterwards.
    void ExpectCounted(const std::string& log, std::optional<std::uint32_t> count,
                       const std::string& after) const {
        Put("VirRcONE.dat", log);
        EXPECT_EQ(virus_log::CorrectCounts(), count);
        EXPECT_EQ(Content("VirRcONE.dat"), after);
        EXPECT_EQ(Content("RecOffset.dat"), "(missing)");
        EXPECT_EQ(Content("VirMain.dat"), "(missing)");
    }
};

TEST_F(RecordCount, ThatIsRightStays) {
    for (const std::string& log : {HeadBytes(0), HeadBytes(1) + Record('a'),
                                   HeadBytes(2) + Record('a') + RecordBytes("/longer")}) {
        ExpectCounted(log, static_cast<unsigned char>(log[4]), log);
    }
    EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
}

TEST_F(RecordCount, ThatIsWrongIsSetToTheWholeRecords) {
    const std::string records = Record('a') + RecordBytes("/longer") + Record('c');
    for (const std::uint32_t wrong : {0U, 2U, 4U, 77U, 0xFFFFFFFFU}) {
        ExpectCounted(HeadBytes(wrong) + records, 3, HeadBytes(3) + records);
        ExpectCounted(HeadBytes(wrong), 0, HeadBytes(0));
    }
}

TEST_F(RecordCount, IsAllOfTheHeadThatChanges) {
    const std::string identity(76, 'i');
    ExpectCounted(U32(7) + U32(5) + U32(9) + identity + Record('a'), 1,
                  U32(7) + U32(1) + U32(9) + identity + Record('a'));
}

TEST_F(RecordCount, OfATornFileStays) {
    const std::string whole = Record('a') + Record('b');
    for (const std::size_t size : {1U, 100U, 209U, 210U, 219U, 221U, 439U}) {
        const std::string log = HeadBytes(2) + whole.substr(0, size);
        ExpectCounted(log, 2, log);
    }
    // Impossible lengths, and a hole, which a crash of the machine leaves.
    for (const std::string& tail :
         {U32(0xFFFFFFFF) + Record('b').substr(4), std::string(210, '\0')}) {
        const std::string log = HeadBytes(5) + Record('a') + tail;
        ExpectCounted(log, 5, log);
    }
    const std::string shortHead = HeadBytes(3).substr(0, 12);
    ExpectCounted(shortHead, 3, shortHead);
}

TEST_F(RecordCount, OfBothFilesIsSet) {
    Put("VirRcTWO.dat", HeadBytes(8) + Record('c') + Record('d'));
    ExpectCounted(HeadBytes(2) + Record('a'), 1, HeadBytes(1) + Record('a'));
    EXPECT_EQ(Content("VirRcTWO.dat"), HeadBytes(2) + Record('c') + Record('d'));
}

TEST_F(RecordCount, OfASecondFileThatCannotBeSetRightIsNoFailure) {
    for (const std::string& second : {std::string(), std::string("short"), HeadBytes(2) + "torn"}) {
        Put("VirRcTWO.dat", second);
        ExpectCounted(HeadBytes(2) + Record('a'), 1, HeadBytes(1) + Record('a'));
        EXPECT_EQ(Content("VirRcTWO.dat"), second);
    }
    WriteFile(m_app / "precious", HeadBytes(7));
    ASSERT_EQ(::unlink(Log("VirRcTWO.dat").c_str()), 0);
    ASSERT_EQ(::symlink("../precious", Log("VirRcTWO.dat").c_str()), 0);
    ExpectCounted(HeadBytes(2) + Record('a'), 1, HeadBytes(1) + Record('a'));
    EXPECT_EQ(ReadFile(m_app / "precious"), HeadBytes(7));
}

TEST_F(RecordCount, NeedsACounter) {
    for (const std::size_t size : {0U, 11U}) {
        const std::string log = HeadBytes(1).substr(0, size);
        ExpectCounted(log, std::nullopt, log);
    }
}

TEST_F(RecordCount, OfAFileLargerThanOffsetsCanTellStays) {
    Put("VirRcONE.dat", HeadBytes(9) + Record('a'));
    ASSERT_EQ(::truncate(Log("VirRcONE.dat").c_str(), off_t{1} << 40), 0);
    EXPECT_EQ(virus_log::CorrectCounts(), 9U);
}

// The count is right by the time more records are asked for than there are.
TEST_F(RecordCount, IsSetBeforeAResetLooksAtIt) {
    Put("VirRcONE.dat", HeadBytes(5) + Record('a') + Record('b'));
    unsigned int remaining = 77;
    EXPECT_FALSE(ZQVRResetLog(3, &remaining));
    EXPECT_EQ(remaining, 77U);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Record('a') + Record('b'));
    EXPECT_EQ(Content("VirMain.dat"), "(missing)");
}

// What is torn is left to the deletion, which refuses it.
TEST_F(RecordCount, OfATornLogKeepsItFromBeingReset) {
    const std::string log = HeadBytes(2) + Record('a') + Record('b').substr(0, 100);
    Put("VirRcONE.dat", log);
    unsigned int remaining = 77;
    EXPECT_FALSE(ZQVRResetLog(1, &remaining));
    EXPECT_EQ(Content("VirRcONE.dat"), log);
}

}  // namespace
