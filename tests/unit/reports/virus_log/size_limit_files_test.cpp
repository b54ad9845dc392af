#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/failing_calls.h"
#include "tests/unit/reports/virus_log/size_limit_fixture.h"

// What a cut does to files: modes, owners, links, other users and a disk that does not take them.

namespace {

TEST_F(SizeLimit, OlderTemporariesAreEmptiedFirst) {
    Put("tmprpt.dat", std::string(5'000, 't'));
    Put("tmpoffset.dat", std::string(5'000, 't'));
    EXPECT_TRUE(TrimFour(U64(528), 2));
    ExpectTrimmed(HeadBytes(2) + Record('c') + Record('d'), U64(88));
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
