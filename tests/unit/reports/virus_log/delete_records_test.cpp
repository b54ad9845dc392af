#include "reports/virus_log/delete_records.h"

#include <sys/mount.h>
#include <sys/stat.h>

#include "tests/support/failing_calls.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

namespace {

// Three records; they lie at 88, 308 and 530, and end at 752.
std::string First() {
    return RecordBytes("/a", "One");
}
std::string Second() {
    return RecordBytes("/bb", "Two");
}
std::string Third() {
    return RecordBytes("/cc", "Three");
}

class DeleteRecordsTest : public VirusLogTest {
protected:
    void SetUp() override {
        VirusLogTest::SetUp();
        if (!IsSkipped() && !HasFatalFailure()) {
            PutLog(HeadBytes(3) + First() + Second() + Third());
        }
    }
    void PutLog(const std::string& log) {
        m_log = log;
        Put("VirRcONE.dat", m_log);
        Put("RecOffset.dat", m_table);
    }
    // Everything is as it was before.
    void ExpectUnchanged() const {
        EXPECT_EQ(Content("VirRcONE.dat"), m_log);
        EXPECT_EQ(Content("RecOffset.dat"), m_table);
        EXPECT_EQ(Content("tempdel.dat"), "(missing)");
        EXPECT_EQ(Content("VirMain.dat"), "(missing)");
    }

    std::string m_log;
    std::string m_table = U32(88) + U32(308) + U32(530);
};

TEST_F(DeleteRecordsTest, TheOldestIsRemoved) {
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Second() + Third());
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(310) + U32(530))
        << "what lies behind the records that stay is left as it was";
    EXPECT_FALSE(Exists(Log("tempdel.dat")));
    EXPECT_FALSE(Exists(Log("VirMain.dat")));
}

TEST_F(DeleteRecordsTest, RemovingNoneWritesTheSameBytes) {
    Put("RecOffset.dat", U32(1) + U32(2) + U32(3) + U32(4));
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 0), 139);
    EXPECT_EQ(Content("VirRcONE.dat"), m_log);
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(530) + U32(4));
    EXPECT_FALSE(Exists(Log("tempdel.dat")));
}

TEST_F(DeleteRecordsTest, RemovingAllLeavesTheHead) {
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 3), 139);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(0));
    EXPECT_EQ(Content("RecOffset.dat"), m_table);
    EXPECT_FALSE(Exists(Log("tempdel.dat")));
}

TEST_F(DeleteRecordsTest, TheHeadsOtherBytesAreCopied) {
    const std::string identity = std::string(76, 'i');
    PutLog(U32(7) + U32(2) + U32(9) + identity + First() + Second());
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
    EXPECT_EQ(Content("VirRcONE.dat"), U32(7) + U32(1) + U32(9) + identity + Second());
}

TEST_F(DeleteRecordsTest, RecordsWithLongPathsAreCopiedWhole) {
    const std::string longer = RecordBytes("/" + std::string(100'000, 'l'), "Long");
    PutLog(HeadBytes(4) + First() + longer + Second() + longer);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(3) + longer + Second() + longer);
    // 216 + 200,002 bytes, then 222.
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(200'306) + U32(200'528));
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Second() + longer);
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(310) + U32(200'528));
}

TEST_F(DeleteRecordsTest, WhatFollowsTheCountedRecordsIsNoRecord) {
    PutLog(HeadBytes(2) + First() + Second() + Third().substr(0, 100));
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(1) + Second());
}

TEST_F(DeleteRecordsTest, AMissingTableIsMade) {
    ASSERT_EQ(::unlink(Log("RecOffset.dat").c_str()), 0);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(310));
    EXPECT_EQ(ModeOf(Log("RecOffset.dat")), 0644U);
}

TEST_F(DeleteRecordsTest, AnotherFileCanBeNamed) {
    Put("VirRcTWO.dat", HeadBytes(2) + Third() + First());
    EXPECT_EQ(DeleteRecords("VirRcTWO.dat", 1), 139);
    EXPECT_EQ(Content("VirRcTWO.dat"), HeadBytes(1) + First());
    EXPECT_EQ(Content("VirRcONE.dat"), m_log);
}

TEST_F(DeleteRecordsTest, AnOlderTemporaryIsEmptiedFirst) {
    Put("tempdel.dat", std::string(5'000, 't'));
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 2), 139);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(1) + Third());
    EXPECT_FALSE(Exists(Log("tempdel.dat")));
}

TEST_F(DeleteRecordsTest, WhoCouldUseTheFileStillCan) {
    for (const mode_t mode : {0640U, 0666U, 0755U}) {
        PutLog(HeadBytes(3) + First() + Second() + Third());
        ASSERT_EQ(::chmod(Log("VirRcONE.dat").c_str(), mode), 0);
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
        EXPECT_EQ(ModeOf(Log("VirRcONE.dat")), mode);
    }
}

TEST_F(DeleteRecordsTest, MoreThanThereAreIs137) {
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 4), 137);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 0xFFFFFFFF), 137);
    ExpectUnchanged();
}

TEST_F(DeleteRecordsTest, ATemporaryThatCannotBeMadeIs136) {
    ASSERT_EQ(::mkdir(Log("tempdel.dat").c_str(), 0777), 0);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 136);
    ASSERT_EQ(::rmdir(Log("tempdel.dat").c_str()), 0);
    ExpectUnchanged();
}

TEST_F(DeleteRecordsTest, NothingIsWrittenThroughALink) {
    WriteFile(m_app / "precious", "precious");
    ASSERT_EQ(::symlink("../precious", Log("tempdel.dat").c_str()), 0);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139) << "the link is out of the way";
    EXPECT_EQ(ReadFile(m_app / "precious"), "precious");
    EXPECT_FALSE(std::filesystem::is_symlink(Log("VirRcONE.dat")));
}

TEST_F(DeleteRecordsTest, ATableThatCannotBeOpenedIs135) {
    ASSERT_EQ(::unlink(Log("RecOffset.dat").c_str()), 0);
    ASSERT_EQ(::mkdir(Log("RecOffset.dat").c_str(), 0777), 0);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 135);
    ASSERT_EQ(::rmdir(Log("RecOffset.dat").c_str()), 0);
    Put("RecOffset.dat", m_table);
    ExpectUnchanged();
}

TEST_F(DeleteRecordsTest, AHeadThatIsNotWholeIs135) {
    for (const std::size_t size : {0U, 4U, 12U, 87U}) {
        PutLog(HeadBytes(0).substr(0, size));
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 0), 135) << size;
        ExpectUnchanged();
    }
}

TEST_F(DeleteRecordsTest, AFixedPartThatIsNotWholeIs135) {
    for (const std::size_t cut : {530U, 531U, 739U}) {
        PutLog((HeadBytes(3) + First() + Second() + Third()).substr(0, cut));
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 135) << "one that stays, " << cut;
        ExpectUnchanged();
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 3), 135) << "one that goes, " << cut;
        ExpectUnchanged();
    }
}

TEST_F(DeleteRecordsTest, StringsThatAreNotWholeAre138) {
    for (const std::size_t cut : {740U, 745U, 751U}) {
        PutLog((HeadBytes(3) + First() + Second() + Third()).substr(0, cut));
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 138) << "one that stays, " << cut;
        ExpectUnchanged();
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 3), 138) << "one that goes, " << cut;
        ExpectUnchanged();
    }
}

TEST_F(DeleteRecordsTest, ImpossibleLengthsAre138) {
    const std::string fixed = Second().substr(8);
    for (const std::string& lengths :
         {U32(0xFFFFFFFF) + U32(6), U32(6) + U32(0xFFFFFFFF), U32(0xFFFFFFFF) + U32(0xFFFFFFFF),
          U32(0x80000000) + U32(0), U32(0xFFFFFF2E) + U32(0)}) {
        std::string log = HeadBytes(3) + First();
        log.append(lengths).append(fixed).append(Third());
        PutLog(log);
        for (const unsigned int count : {0U, 1U, 2U, 3U}) {
            EXPECT_EQ(DeleteRecords("VirRcONE.dat", count), 138) << count;
            ExpectUnchanged();
        }
    }
}

TEST_F(DeleteRecordsTest, AnOffsetBeyond32BitsIs135) {
    // The first record is as long as a length can tell, and the second lies behind 4 GiB.
    PutLog(HeadBytes(2) + U32(0xFFFFFFFF) + U32(0));
    ASSERT_EQ(::truncate(Log("VirRcONE.dat").c_str(), 0x100001000), 0);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 0), 135);
    EXPECT_EQ(Content("RecOffset.dat"), m_table);
    EXPECT_FALSE(Exists(Log("tempdel.dat")));
    EXPECT_EQ(std::filesystem::file_size(Log("VirRcONE.dat")), 0x100001000U);
    // Once the long one is gone the other one lies at the start.
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(1) + std::string(210, '\0'));
}

TEST_F(DeleteRecordsTest, AFileThatCannotBeReadIs141) {
    EXPECT_EQ(DeleteRecords(nullptr, 0), 141);
    EXPECT_EQ(DeleteRecords("VirRcTWO.dat", 0), 141);
    EXPECT_FALSE(Exists(Log("VirRcTWO.dat")));
    ExpectUnchanged();

    ASSERT_EQ(::rename(Log("VirRcONE.dat").c_str(), (m_app / "elsewhere").c_str()), 0);
    ASSERT_EQ(::symlink("../elsewhere", Log("VirRcONE.dat").c_str()), 0);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 141);
    ExpectUnchanged();
    ASSERT_EQ(::unlink(Log("VirRcONE.dat").c_str()), 0);
    ASSERT_EQ(::mkdir(Log("VirRcONE.dat").c_str(), 0777), 0);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 141);
    EXPECT_EQ(Content("RecOffset.dat"), m_table);
}

TEST_F(DeleteRecordsTest, AFileThatCannotBeReplacedIs134) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "files are only mounted on in a private root";
    }
    // What something is mounted on cannot be removed or renamed.
    const std::string path = Log("VirRcONE.dat");
    if (::mount(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) != 0) {
        GTEST_SKIP() << "no right to mount a file";
    }
    for (const std::string& table : {m_table, U32(88), std::string()}) {
        m_table = table;
        Put("RecOffset.dat", table);
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 134);
        ExpectUnchanged();
    }
    ASSERT_EQ(::umount2(path.c_str(), MNT_DETACH), 0);
    ExpectUnchanged();
}

// What the disk does not take must not be given the name of the records.
TEST_F(DeleteRecordsTest, RecordsThatDoNotReachTheDiskAre135) {
    FailCall(Call::kFsync, EIO);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 135);
    EXPECT_FALSE(IsStillToFail(Call::kFsync));
    ExpectUnchanged();
    // Some file systems know no such thing.
    for (const int error : {EINVAL, ENOSYS}) {
        PutLog(m_log);
        FailCall(Call::kFsync, error);
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
    }
    FailNothing();
}

// The second is that of the folder. By then the records are replaced, so it changes nothing.
TEST_F(DeleteRecordsTest, TheNewNameIsSeenOnDiskToo) {
    FailCall(Call::kFsync, EIO, 2);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
    EXPECT_FALSE(IsStillToFail(Call::kFsync));
    FailNothing();
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(2) + Second() + Third());
}

TEST_F(DeleteRecordsTest, TheOwnerStays) {
    if (::geteuid() != 0 || ::chown(Log("VirRcONE.dat").c_str(), 12'345, 54'321) != 0) {
        GTEST_SKIP() << "no right to give files away";
    }
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 139);
    struct stat status {};
    ASSERT_EQ(::stat(Log("VirRcONE.dat").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 12'345U);
    EXPECT_EQ(status.st_gid, 54'321U);
}

class DeleteRecordsOnAFullDisk : public FullDiskLogTest {
protected:
    // Leaves `pages` free blocks.
    void FillBut(off_t pages) {
        Fill();
        constexpr off_t kPage = 4096;
        const auto size = static_cast<off_t>(std::filesystem::file_size(Log("filler")));
        ASSERT_EQ(::truncate(Log("filler").c_str(), (size / kPage - pages) * kPage), 0);
    }
};

TEST_F(DeleteRecordsOnAFullDisk, NoRoomForTheRecordsIs135) {
    const std::string log = HeadBytes(2) + First() + RecordBytes("/" + std::string(8'000, 'l'));
    Put("VirRcONE.dat", log);
    Put("RecOffset.dat", U32(88) + U32(308));
    for (const off_t pages : {0, 1, 2, 3}) {
        FillBut(pages);
        EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 135) << pages;
        EXPECT_EQ(Content("VirRcONE.dat"), log);
        EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308));
        EXPECT_FALSE(Exists(Log("tempdel.dat")));
    }
}

TEST_F(DeleteRecordsOnAFullDisk, NoRoomForTheOffsetsIs135) {
    const std::string log = HeadBytes(2) + First() + Second();
    Put("VirRcONE.dat", log);
    Put("RecOffset.dat", "");
    FillBut(1);
    EXPECT_EQ(DeleteRecords("VirRcONE.dat", 1), 135);
    EXPECT_EQ(Content("VirRcONE.dat"), log);
    EXPECT_EQ(Content("RecOffset.dat"), "");
    EXPECT_FALSE(Exists(Log("tempdel.dat")));
}

}  // namespace
