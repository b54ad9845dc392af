#include <sys/resource.h>

#include "tests/unit/reports/virus_log/log_reader_fixture.h"

// What the reader makes of copies that are torn, or made to harm it.

namespace {

// Record 'b' with other lengths; as long as it was.
std::string WithLengths(std::uint32_t path, std::uint32_t domain) {
    return U32(path) + U32(domain) + Record('b').substr(8);
}

TEST_F(LogReader, AfterATornRecordTheTableTellsWhereToGoOn) {
    ASSERT_EQ(Read(3, Record('a') + Record('b').substr(0, 100) + Record('c'),
                   U32(88) + U32(308) + U32(408)),
              virus_log::ReadLogResult::kOk);
    ExpectRead("/a /c ", 100, 1);
}

TEST_F(LogReader, TheFirstAndSeveralMayBeTorn) {
    ASSERT_EQ(Read(5,
                   Record('a').substr(0, 1) + Record('b').substr(0, 211) + Record('c') +
                       Record('d').substr(0, 219) + Record('e'),
                   U32(88) + U32(89) + U32(300) + U32(520) + U32(739)),
              virus_log::ReadLogResult::kOk);
    ExpectRead("/c /e ", 1 + 211 + 219, 3);
}

TEST_F(LogReader, TheLastMayBeTorn) {
    for (const std::size_t size : {1U, 12U, 209U, 210U, 219U}) {
        ASSERT_EQ(Read(2, Record('a') + Record('b').substr(0, size), U32(88) + U32(308)),
                  virus_log::ReadLogResult::kOk);
        ExpectRead("/a ", size, 1);
    }
}

TEST_F(LogReader, ATornRecordThatTheTableDoesNotKnowEndsTheLog) {
    const std::string torn = RecordBytes("/" + std::string(1'000, 'l')).substr(0, 300);
    ASSERT_EQ(Read(3, Record('a') + torn + Record('c'), ""), virus_log::ReadLogResult::kOk);
    ExpectRead("/a ", 300 + 220, 2);
    ASSERT_EQ(Read(3, Record('a') + torn + Record('c'), U32(88) + U32(308)),
              virus_log::ReadLogResult::kOk);
    ExpectRead("/a ", 300 + 220, 2);
}

TEST_F(LogReader, BytesAfterTheLastRecordAreDamage) {
    ASSERT_EQ(Read(1, Record('a') + std::string(500, '\xFF'), U32(88)),
              virus_log::ReadLogResult::kOk);
    ExpectRead("/a ", 500, 0);
}

TEST_F(LogReader, ZerosAreNoRecords) {
    ASSERT_EQ(
        Read(3, Record('a') + std::string(420, '\0') + Record('c'), U32(88) + U32(308) + U32(728)),
        virus_log::ReadLogResult::kOk);
    ExpectRead("/a /c ", 420, 1);
}

TEST_F(LogReader, ImpossibleLengthsAreATornRecord) {
    for (const std::string& torn :
         {WithLengths(0xFFFFFFFF, 6), WithLengths(4, 0xFFFFFFFF),
          WithLengths(0xFFFFFFFF, 0xFFFFFFFF), WithLengths(0xFFFFFFFE, 0xFFFFFFFE),
          WithLengths(0x80000000, 0x80000000), WithLengths(0xFFFFFF2E, 0), WithLengths(226, 6),
          WithLengths(3, 7), WithLengths(5, 5), WithLengths(1, 0), WithLengths(0, 1)}) {
        ASSERT_EQ(Read(3, Record('a') + torn + Record('c'), U32(88) + U32(308) + U32(528)),
                  virus_log::ReadLogResult::kOk);
        ExpectRead("/a /c ", 220, 1);
    }
}

TEST_F(LogReader, ARecordThatIsTooShortLeavesTheRestAsDamage) {
    // The lengths end 4 bytes early; the next offset in the table brings it back into step.
    ASSERT_EQ(Read(3, Record('a') + WithLengths(0, 6) + Record('c'), U32(88) + U32(308) + U32(528)),
              virus_log::ReadLogResult::kOk);
    ExpectRead("/a  /c ", 4, 0);
}

// As a writer leaves it that was killed between head and record, and as every trim does.
TEST_F(LogReader, ACountThatIsTooHighIsNoDamageWhereAllRecordsAreWhole) {
    ASSERT_EQ(Read(5, Record('a') + Record('b'), U32(88) + U32(308)),
              virus_log::ReadLogResult::kOk);
    ExpectRead("/a /b ", 0, 0);
    ASSERT_EQ(Read(0xFFFFFFFF, "", ""), virus_log::ReadLogResult::kOk);
    ExpectRead("", 0, 0);
}

TEST_F(LogReader, OfATornLogCountedRecordsThatAreNotThereAreMissing) {
    ASSERT_EQ(Read(5, Record('a') + Record('b') + "half", U32(88) + U32(308)),
              virus_log::ReadLogResult::kOk);
    ExpectRead("/a /b ", 4, 3);
    ASSERT_EQ(Read(0xFFFFFFFF, "x", ""), virus_log::ReadLogResult::kOk);
    ExpectRead("", 1, 0xFFFFFFFF);
}

TEST_F(LogReader, RecordsThatAreNotCountedAreRead) {
    ASSERT_EQ(Read(1, Record('a') + Record('b'), U32(88)), virus_log::ReadLogResult::kOk);
    ExpectRead("/a /b ", 0, 0);
}

TEST_F(LogReader, ATableOutOfDateIsIgnoredWhereTheRecordsAreWhole) {
    const std::string records = Record('a') + Record('b') + Record('c');
    for (const std::string& table :
         {U32(100) + U32(309) + U32(527), U32(0) + U32(0) + U32(0), U32(308) + U32(308) + U32(308),
          U32(89) + U32(90) + U32(0xFFFFFFFF), U64(88) + U64(308)}) {
        ASSERT_EQ(Read(3, records, table), virus_log::ReadLogResult::kOk);
        ExpectRead("/a /b /c ", 0, 0);
    }
}

TEST_F(LogReader, ATableFullOfAnythingLeadsOnlyToRecords) {
    // The records end at 628; of these only 408 and 308 lie among them.
    const std::string records = Record('a') + Record('b').substr(0, 100) + Record('c');
    const std::string table = U32(0xFFFFFFFF) + U32(408) + U32(0) + U32(87) + U32(308) + U32(628) +
                              U32(629) + U32(408) + U32(0x80000000);
    ASSERT_EQ(Read(3, records, table), virus_log::ReadLogResult::kOk);
    ExpectRead("/a /c ", 100, 1);
    // 500 lies inside "/c".
    ASSERT_EQ(Read(3, records, U32(500) + U32(308)), virus_log::ReadLogResult::kOk);
    ExpectRead("/a ", 192 + 128, 2);
    ASSERT_EQ(Read(3, records, U32(0xFFFFFFFF) + U32(628)), virus_log::ReadLogResult::kOk);
    EXPECT_EQ(m_contents.damagedBytes, 100U) << "what the lengths alone leave over";
}

TEST_F(LogReader, TheTablesOrderDoesNotMatter) {
    ASSERT_EQ(Read(4, Record('a') + Record('b').substr(0, 100) + Record('c') + Record('d'),
                   U32(628) + U32(408) + U32(88)),
              virus_log::ReadLogResult::kOk);
    ExpectRead("/a /c /d ", 100, 1);
}

TEST_F(LogReader, APathMayBeAMebibyteLong) {
    const std::string path(524'288, 'p');
    ASSERT_EQ(Read(2, RecordBytes(path) + Record('b'), ""), virus_log::ReadLogResult::kOk);
    ExpectRead(path + " /b ", 0, 0);
    ASSERT_EQ(Read(2, RecordBytes(path + "p") + Record('b'), U32(88) + U32(88 + 1'048'794)),
              virus_log::ReadLogResult::kOk);
    ExpectRead("/b ", 1'048'794, 1);
}

TEST_F(LogReader, AHundredThousandRecordsAreRead) {
    constexpr std::uint32_t kCount = 100'000;
    std::string records;
    std::string table;
    for (std::uint32_t i = 0; i < kCount; ++i) {
        table += U32(88 + static_cast<std::uint32_t>(records.size()));
        records += RecordBytes("/" + std::to_string(i));
    }
    ASSERT_EQ(Read(kCount, records, table), virus_log::ReadLogResult::kOk);
    ASSERT_EQ(m_contents.entries.size(), kCount);
    for (std::uint32_t i = 0; i < kCount; ++i) {
        ASSERT_EQ(m_contents.entries[i].filePath, "/" + std::to_string(i));
        ASSERT_EQ(m_contents.entries[i].domainName, "dom");
    }
    ExpectRead(Paths(), 0, 0);

    // One in the middle is torn: its domain's last letter is missing.
    records.clear();
    table.clear();
    for (std::uint32_t i = 0; i < kCount; ++i) {
        table += U32(88 + static_cast<std::uint32_t>(records.size()));
        records += RecordBytes("/" + std::to_string(i));
        if (i == 49'999) {
            records.resize(records.size() - 2);
        }
    }
    ASSERT_EQ(Read(kCount, records, table), virus_log::ReadLogResult::kOk);
    EXPECT_EQ(m_contents.entries.size(), kCount - 1);
    EXPECT_EQ(m_contents.entries[49'998].filePath, "/49998");
    EXPECT_EQ(m_contents.entries[49'999].filePath, "/50000");
    EXPECT_EQ(m_contents.damagedBytes, 216U + 12U - 2U);
    EXPECT_EQ(m_contents.missing, 1U);
}

TEST_F(LogReader, TheTableIsNotReadBeyondWhatItCanHold) {
    const std::string records = Record('a') + Record('b').substr(0, 100) + Record('c');
    WriteFile(m_path, HeadBytes(3, 628) + records + U32(308) + U32(408));
    ASSERT_EQ(::truncate(m_path.c_str(), 0x10000000000), 0) << "a tebibyte of holes";
    ASSERT_EQ(virus_log::ReadVirusLogCopy(m_path.c_str(), m_contents),
              virus_log::ReadLogResult::kOk);
    ExpectRead("/a /c ", 100, 1);
}

// A file of holes costs its reader no memory to speak of.
TEST_F(LogReader, AFileOfHolesIsDamage) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs more address space than the limit of this test";
#endif
    for (const std::string& start :
         {std::string(), U32(0xFFFFFF00) + U32(0) + Record('a').substr(8),
          U32(0x40000000) + U32(0x40000000) + Record('a').substr(8)}) {
        WriteFile(m_path, HeadBytes(0xFFFFFFFF, 0xFFFFFFFF) + start);
        ASSERT_EQ(::truncate(m_path.c_str(), 0xFFFFFFFF), 0);
        EXPECT_EQ(InChild([this] {
                      const struct rlimit limit { 256U << 20U, 256U << 20U };
                      const bool isRead = ::setrlimit(RLIMIT_AS, &limit) == 0 &&
                                          virus_log::ReadVirusLogCopy(m_path.c_str(), m_contents) ==
                                              virus_log::ReadLogResult::kOk;
                      return isRead && m_contents.entries.empty() &&
                                     m_contents.damagedBytes == 0xFFFFFFFF - 88 &&
                                     m_contents.missing == 0xFFFFFFFF
                                 ? 0
                                 : 1;
                  }),
                  0);
    }
}

}  // namespace
