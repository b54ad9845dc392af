#include <algorithm>
#include <sys/stat.h>
#include <vector>

#include "reports/virus_log/virus_log.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

namespace {

class ReadersCopy : public VirusLogTest {
protected:
    void PutLog(const std::string& log, const std::string& table) {
        m_log = log;
        m_table = table;
        Put("VirRcONE.dat", log);
        Put("RecOffset.dat", table);
    }
    // Makes the copy; whether that went well and its path came out as units.
    bool MakeCopy() const {
        constexpr unsigned short kUntouched = 0xAAAA;
        std::vector<unsigned short> path(virus_log::kVirusReportPathSize + 1, kUntouched);
        const bool made = ZQVRGetVirusReportFile(path.data());
        std::vector<unsigned short> expected(path.size(), kUntouched);
        if (made) {
            const std::string name = Log("cpyONE.dat") + '\0';
            std::copy(name.begin(), name.end(), expected.begin());
        }
        EXPECT_EQ(path, expected);
        return made;
    }
    // The log is as it was, and nobody is kept from it.
    void ExpectLogUnchanged() const {
        EXPECT_EQ(Content("VirRcONE.dat"), m_log);
        EXPECT_EQ(Content("RecOffset.dat"), m_table);
        EXPECT_EQ(Content("VirMain.dat"), "(missing)");
        EXPECT_FALSE(IsMutexHeld(10011));
        EXPECT_FALSE(IsMutexHeld(10022));
    }
    void ExpectCopy(const std::string& content) const {
        EXPECT_EQ(Content("cpyONE.dat"), content);
        EXPECT_EQ(Content("cpyOFFST.dat"), "(missing)");
        ExpectLogUnchanged();
    }
    void ExpectNoCopy() const { ExpectCopy("(missing)"); }

    std::string m_log = "(missing)";
    std::string m_table = "(missing)";
};

TEST_F(ReadersCopy, OfAnEmptyLogHasNoTable) {
    PutLog(HeadBytes(0), "");
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(HeadBytes(0, 88));
    // What was deleted has left its entries behind.
    PutLog(HeadBytes(0), U32(88) + U32(308));
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(HeadBytes(0, 88));
}

TEST_F(ReadersCopy, OfOneRecordEndsWithItsOffset) {
    PutLog(HeadBytes(1) + Record('a'), U32(88));
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(HeadBytes(1, 308) + Record('a') + U32(88));
}

TEST_F(ReadersCopy, OfThreeRecordsEndsWithTheirOffsets) {
    PutLog(HeadBytes(3) + Record('a') + RecordBytes("/longer") + Record('c'),
           U32(88) + U32(308) + U32(538));
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(HeadBytes(3, 758) + Record('a') + RecordBytes("/longer") + Record('c') + U32(88) +
               U32(308) + U32(538));
}

TEST_F(ReadersCopy, TakesAsManyEntriesAsRecordsAreCounted) {
    PutLog(HeadBytes(1) + Record('a'), U32(88) + U32(308) + U32(528));
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(HeadBytes(1, 308) + Record('a') + U32(88));
}

TEST_F(ReadersCopy, OfAShorterTableHasWhatIsThere) {
    PutLog(HeadBytes(3) + Record('a') + Record('b'), U32(88) + U32(308));
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(HeadBytes(3, 528) + Record('a') + Record('b') + U32(88) + U32(308));
    PutLog(HeadBytes(3) + Record('a') + Record('b'), (U32(88) + U32(308)).substr(0, 7));
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(HeadBytes(3, 528) + Record('a') + Record('b') + U32(88));
    PutLog(HeadBytes(0xFFFFFFFF) + Record('a'), "");
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(HeadBytes(0xFFFFFFFF, 308) + Record('a'));
}

TEST_F(ReadersCopy, ChangesOnlyTheThirdWordOfTheHead) {
    const std::string identity = std::string(76, 'i');
    PutLog(U32(7) + U32(1) + U32(9) + identity + Record('a'), U32(88));
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(U32(7) + U32(1) + U32(308) + identity + Record('a') + U32(88));
}

TEST_F(ReadersCopy, NeedsNoMoreThanACounter) {
    PutLog(HeadBytes(0).substr(0, 12), "");
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(U32(0) + U32(0) + U32(12));
}

TEST_F(ReadersCopy, ReplacesAnOlderOne) {
    Put("cpyONE.dat", std::string(5'000, 'o'));
    Put("cpyOFFST.dat", std::string(5'000, 'o'));
    PutLog(HeadBytes(1) + Record('a'), U32(88));
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(HeadBytes(1, 308) + Record('a') + U32(88));
    ASSERT_TRUE(MakeCopy());
    ExpectCopy(HeadBytes(1, 308) + Record('a') + U32(88));
}

TEST_F(ReadersCopy, HasTheModeOfACopy) {
    PutLog(HeadBytes(1) + Record('a'), U32(88));
    ASSERT_TRUE(MakeCopy());
    EXPECT_EQ(ModeOf(Log("cpyONE.dat")), 0755U);
}

TEST_F(ReadersCopy, ThePathsBytesAreItsUnits) {
    const std::string folder = m_app / "m\xC3\xB6";
    ASSERT_EQ(::mkdir(folder.c_str(), 0777), 0);
    ASSERT_EQ(::rename(Log("").c_str(), (folder + "/reports").c_str()), 0);
    ASSERT_TRUE(common::CopyToField(g_szAppPath, folder + "/"));
    WriteFile(folder + "/reports/VirRcONE.dat", HeadBytes(0));
    WriteFile(folder + "/reports/RecOffset.dat", "");
    std::vector<unsigned short> path(virus_log::kVirusReportPathSize);
    ASSERT_TRUE(ZQVRGetVirusReportFile(path.data()));
    const std::string name = folder + "/reports/cpyONE.dat";
    ASSERT_EQ(path[name.size()], 0);
    for (std::size_t i = 0; i < name.size(); ++i) {
        EXPECT_EQ(path[i], static_cast<unsigned char>(name[i])) << i;
    }
    EXPECT_EQ(ReadFile(name), HeadBytes(0, 88));
}

TEST_F(ReadersCopy, IsNotMadeOfALogThatIsNotThere) {
    EXPECT_FALSE(MakeCopy());
    ExpectNoCopy();
    EXPECT_FALSE(ZQVRGetVirusReportFile(nullptr));
    ExpectNoCopy();

    PutLog(HeadBytes(1) + Record('a'), U32(88));
    EXPECT_FALSE(ZQVRGetVirusReportFile(nullptr));
    ExpectNoCopy();
    ASSERT_EQ(::unlink(Log("RecOffset.dat").c_str()), 0);
    m_table = "(missing)";
    EXPECT_FALSE(MakeCopy());
    ExpectNoCopy();

    PutLog(HeadBytes(1) + Record('a'), U32(88));
    ASSERT_EQ(::unlink(Log("VirRcONE.dat").c_str()), 0);
    m_log = "(missing)";
    EXPECT_FALSE(MakeCopy());
    ExpectNoCopy();
}

TEST_F(ReadersCopy, IsNotMadeOfALogWithoutACounter) {
    for (const std::size_t size : {0U, 1U, 11U}) {
        PutLog(HeadBytes(0).substr(0, size), "");
        EXPECT_FALSE(MakeCopy()) << size;
        ExpectNoCopy();
    }
}

TEST_F(ReadersCopy, IsNotWrittenThroughALink) {
    WriteFile(m_app / "precious", "precious");
    PutLog(HeadBytes(1) + Record('a'), U32(88));
    for (const char* name : {"cpyONE.dat", "cpyOFFST.dat"}) {
        ASSERT_EQ(::symlink("../precious", Log(name).c_str()), 0);
        EXPECT_TRUE(MakeCopy()) << "the link to " << name << " is out of the way";
        ASSERT_EQ(::unlink(Log("cpyONE.dat").c_str()), 0);
        ASSERT_EQ(::link((m_app / "precious").c_str(), Log(name).c_str()), 0);
        EXPECT_TRUE(MakeCopy()) << name;
        ASSERT_EQ(::unlink(Log("cpyONE.dat").c_str()), 0);
    }
    EXPECT_EQ(ReadFile(m_app / "precious"), "precious");
}

// Whatever size somebody gives the files, the disk is not filled with copies of them.
TEST_F(ReadersCopy, IsNotMadeOfMoreThanOffsetsCanTell) {
    PutLog(HeadBytes(1) + Record('a'), U32(88));
    ASSERT_EQ(::truncate(Log("VirRcONE.dat").c_str(), off_t{1} << 40), 0);
    EXPECT_FALSE(MakeCopy());
    EXPECT_FALSE(Exists(Log("cpyONE.dat")));
    PutLog(HeadBytes(0xFFFFFFF0) + Record('a'), U32(88));
    ASSERT_EQ(::truncate(Log("RecOffset.dat").c_str(), off_t{1} << 40), 0);
    EXPECT_TRUE(MakeCopy());
    // The table is read up to the size of the records: 308 bytes.
    EXPECT_EQ(Content("cpyONE.dat"),
              HeadBytes(0xFFFFFFF0, 308) + Record('a') + Padded(U32(88), 308));
}

TEST_F(ReadersCopy, IsNotMadeOfALink) {
    WriteFile(m_app / "precious", HeadBytes(0));
    for (const char* name : {"VirRcONE.dat", "RecOffset.dat"}) {
        PutLog(HeadBytes(0), "");
        ASSERT_EQ(::unlink(Log(name).c_str()), 0);
        ASSERT_EQ(::symlink("../precious", Log(name).c_str()), 0);
        EXPECT_FALSE(MakeCopy()) << name;
        EXPECT_FALSE(Exists(Log("cpyONE.dat")));
        EXPECT_FALSE(Exists(Log("cpyOFFST.dat")));
        ASSERT_EQ(::unlink(Log(name).c_str()), 0);
    }
}

TEST_F(ReadersCopy, IsNotMadeOverAFolder) {
    for (const char* name : {"cpyONE.dat", "cpyOFFST.dat"}) {
        PutLog(HeadBytes(1) + Record('a'), U32(88));
        ASSERT_EQ(::mkdir(Log(name).c_str(), 0777), 0);
        EXPECT_FALSE(MakeCopy()) << name;
        ASSERT_EQ(::rmdir(Log(name).c_str()), 0);
        ExpectNoCopy();
    }
}

TEST_F(ReadersCopy, IsNotMadeInAnotherUsersFile) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "no right to become another user";
    }
    PutLog(HeadBytes(1) + Record('a'), U32(88));
    ASSERT_EQ(::chmod(m_app.Path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod((m_app / "reports").c_str(), 01777), 0);
    const auto copyAsAnother = [this] {
        return InChild([this] { return ::setuid(12'345) != 0 ? 2 : static_cast<int>(MakeCopy()); });
    };
    for (const char* name : {"cpyONE.dat", "cpyOFFST.dat"}) {
        Put(name, "");
        ASSERT_EQ(::chmod(Log(name).c_str(), 0777), 0);
        EXPECT_EQ(copyAsAnother(), 0) << name;
        EXPECT_EQ(Content(name), "");
        ASSERT_EQ(::unlink(Log(name).c_str()), 0);
    }
    EXPECT_EQ(copyAsAnother(), 1);
}

using ReadersCopyOnAFullDisk = FullDiskLogTest;

TEST_F(ReadersCopyOnAFullDisk, IsNotMadeInPart) {
    constexpr std::uintmax_t kPage = 4096;
    // One page of records, so that the table begins on the next one: 88 + 3,994 + 14.
    const std::string log =
        HeadBytes(1) + RecordBytes("/" + std::string(1'888, 'l')) + Padded("", 14);
    ASSERT_EQ(log.size(), kPage);
    Put("VirRcONE.dat", log);
    Put("RecOffset.dat", U32(88));
    std::array<unsigned short, virus_log::kVirusReportPathSize> path{};
    // The copy, that of the table, and the table in the copy need one page each.
    for (const std::uintmax_t pages : {0U, 1U, 2U}) {
        Fill();
        const std::uintmax_t filled = std::filesystem::file_size(Log("filler")) / kPage;
        std::filesystem::resize_file(Log("filler"), (filled - pages) * kPage);
        EXPECT_FALSE(ZQVRGetVirusReportFile(path.data())) << pages;
        EXPECT_FALSE(Exists(Log("cpyONE.dat")));
        EXPECT_FALSE(Exists(Log("cpyOFFST.dat")));
        EXPECT_EQ(Content("VirRcONE.dat"), log);
        EXPECT_EQ(Content("RecOffset.dat"), U32(88));
    }
    ASSERT_EQ(::unlink(Log("filler").c_str()), 0);
    EXPECT_TRUE(ZQVRGetVirusReportFile(path.data()));
    EXPECT_EQ(Content("cpyONE.dat"), U32(0) + U32(1) + U32(4096) + log.substr(12) + U32(88));
}

}  // namespace
