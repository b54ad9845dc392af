#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/unit/product/virlog/run_virlog.h"

// Several users and one folder that all of them may write to.

namespace fs = std::filesystem;

namespace {

class VirlogOtherUserTest : public VirlogProgramTest {
protected:
    void SetUp() override {
        VirlogProgramTest::SetUp();
        if (geteuid() != 0) {
            GTEST_SKIP() << "only root can become somebody else";
        }
    }
};

TEST_F(VirlogOtherUserTest, EveryUserMayReadTheLog) {
    WriteLog({Record(u"/tmp/a")});
    for (const uid_t user : {kNobody, uid_t{0}, uid_t{12345}, kNobody}) {
        VirlogRun run({"--format", "csv"}, {}, user);
        EXPECT_EQ(run.Status(), 0);
        EXPECT_EQ(run.Errors(), "");
        EXPECT_EQ(run.Output(), kCsvHeading + CsvOf("/tmp/a"));
        EXPECT_FALSE(Exists(kCopy));
    }
}

TEST_F(VirlogOtherUserTest, SaysWhoseCopyIsInTheWay) {
    WriteLog({Record(u"/tmp/a")});
    for (const char* name : {"cpyONE.dat", "cpyOFFST.dat"}) {
        const std::string copy = kReports + std::string(name);
        WriteFile(copy, "");
        ASSERT_EQ(::chmod(copy.c_str(), 0755), 0);
        ASSERT_EQ(::chown(copy.c_str(), 12345, 12345), 0);
        VirlogRun run({}, {}, kNobody);
        EXPECT_EQ(run.Status(), 1);
        EXPECT_EQ(run.Output(), "");
        EXPECT_EQ(run.Errors(),
                  "corvane-virlog: an earlier copy of the virus log is in the way: " + copy +
                      " belongs to user 12345, who can remove it, as root can\n");
        fs::remove(copy);
    }
}

TEST_F(VirlogOtherUserTest, ACopyOfRootsIsRootsToRemove) {
    WriteLog({Record(u"/tmp/a")});
    WriteFile(kCopy, "");
    VirlogRun run({}, {}, kNobody);
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Errors(), "corvane-virlog: an earlier copy of the virus log is in the way: " +
                                std::string(kCopy) + " belongs to root, who can remove it\n");
}

TEST_F(VirlogOtherUserTest, ADirectoryInTheWayIsCalledOneWhoeverLooks) {
    WriteLog({Record(u"/tmp/a")});
    fs::create_directory(kCopy);
    for (const uid_t user : {kNobody, uid_t{12345}}) {
        ASSERT_EQ(::chown(kCopy, 12345, 12345), 0);
        VirlogRun run({}, {}, user);
        EXPECT_EQ(run.Status(), 1);
        EXPECT_EQ(run.Errors(), "corvane-virlog: no copy of the virus log can be made: " +
                                    std::string(kCopy) + " is a directory\n");
    }
}

TEST_F(VirlogOtherUserTest, EveryUserMayReadTheSecondFileAsFarAsItsModeLets) {
    WriteLog({Record(u"/tmp/a")});
    WriteFile(kSecondRecords, Head(1) + Record(u"/tmp/b"));
    ASSERT_EQ(::chmod(kSecondRecords, 0644), 0);
    VirlogRun readable({"--format", "csv"}, {}, kNobody);
    EXPECT_EQ(readable.Status(), 0);
    EXPECT_EQ(readable.Output(), kCsvHeading + CsvOf("/tmp/a") + CsvOf("/tmp/b"));
    EXPECT_EQ(readable.Errors(), "");

    ASSERT_EQ(::chmod(kSecondRecords, 0600), 0);
    VirlogRun run({"--format", "csv"}, {}, kNobody);
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Output(), kCsvHeading + CsvOf("/tmp/a"));
    EXPECT_EQ(run.Errors(), "corvane-virlog: the records that wait in " +
                                std::string(kSecondRecords) +
                                " are not listed: Permission denied\n");
}

TEST_F(VirlogOtherUserTest, OnlyWhoMayReplaceTheLogMayCutIt) {
    const auto expectRefused = [](uid_t user, const std::string& message) {
        VirlogRun run({"--keep", "0"}, {}, user);
        EXPECT_EQ(run.Status(), 1);
        EXPECT_EQ(run.Output(), "");
        EXPECT_EQ(run.Errors(), "corvane-virlog: the virus log may not be cut" + message + "\n");
    };
    WriteLog({Record(u"/tmp/a")});
    const std::string before = ReadFile(kRecords);
    const std::string path = kRecords;
    expectRefused(kNobody, ": " + path + " belongs to root; only root can cut it");
    ASSERT_EQ(::chown(kRecords, 12345, 12345), 0);
    expectRefused(kNobody,
                  ": " + path + " belongs to user 12345; only user 12345 or root can cut it");
    ASSERT_EQ(::chmod(kReports, 0755), 0);
    expectRefused(12345, " in " + std::string(kReports) + ": Permission denied");
    EXPECT_EQ(ReadFile(kRecords), before);
    EXPECT_FALSE(Exists(kReports + std::string("VirMain.dat")));
}

TEST_F(VirlogOtherUserTest, TheOwnerOfTheLogCutsIt) {
    WriteLog({Record(u"/tmp/a"), Record(u"/tmp/b")});
    ASSERT_EQ(::chown(kRecords, 12345, 12345), 0);
    VirlogRun run({"--keep=1"}, {}, 12345);
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Errors(), "");
    EXPECT_EQ(run.Output(), "1 record removed, 1 stays\n");
    EXPECT_EQ(ReadFile(kRecords), Head(1) + Record(u"/tmp/b"));
}

TEST_F(VirlogOtherUserTest, TrustsNoStrangersCopyAlthoughItCouldWriteIt) {
    WriteLog({Record(u"/tmp/a")});
    WriteFile(kCopy, "");
    ASSERT_EQ(::chmod(kCopy, 0777), 0);
    ASSERT_EQ(::chown(kCopy, 12345, 12345), 0);
    VirlogRun run({}, {}, kNobody);
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Output(), "");
    EXPECT_NE(run.Errors().find("cpyONE.dat belongs to user 12345"), std::string::npos);
}

TEST_F(VirlogOtherUserTest, RootRemovesWhateverIsInTheWay) {
    WriteLog({Record(u"/tmp/a")});
    WriteFile(kReports + std::string("cpyOFFST.dat"), "old");
    ASSERT_EQ(::lchown((kReports + std::string("cpyOFFST.dat")).c_str(), 12345, 12345), 0);
    const ScratchFolder scratch;
    WriteFile(scratch / "victim", "precious");
    fs::create_symlink(scratch / "victim", kCopy);
    ASSERT_EQ(::lchown(kCopy, 12345, 12345), 0);
    EXPECT_EQ(Listed({"--format", "csv"}), kCsvHeading + CsvOf("/tmp/a"));
    EXPECT_EQ(ReadFile(scratch / "victim"), "precious");
    EXPECT_FALSE(Exists(kCopy));
    EXPECT_FALSE(Exists(kReports + std::string("cpyOFFST.dat")));
}

TEST_F(VirlogOtherUserTest, SaysWhatItMayNotDo) {
    WriteLog({Record(u"/tmp/a")});
    const auto expect = [](const std::string& message) {
        VirlogRun run({}, {}, kNobody);
        EXPECT_EQ(run.Status(), 1);
        EXPECT_EQ(run.Errors(), "corvane-virlog: " + message + "\n");
    };
    ASSERT_EQ(::chmod(kRecords, 0600), 0);
    expect("the virus log may not be read: " + std::string(kRecords) + " belongs to root");
    ASSERT_EQ(::chmod(kRecords, 0666), 0);
    ASSERT_EQ(::chmod(kReports, 0755), 0);
    expect("no copy of the virus log can be made in " + std::string(kReports) +
           ": Permission denied");
    ASSERT_EQ(::chmod(kReports, 0700), 0);
    expect("the reports cannot be read: " + std::string(kReports) + ": Permission denied");
}

TEST_F(VirlogOtherUserTest, SaysThatThereIsNoRoom) {
    const TinyDisk disk(kReports, "64k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted";
    }
    ASSERT_EQ(::chmod(kReports, 01777), 0);
    WriteLog({Record(u"/tmp/a")});
    WriteFile(kReports + std::string("full"), std::string(57'344, 'x'));
    VirlogRun run({});
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(run.Errors(), "corvane-virlog: there is no room for a copy of the virus log in " +
                                std::string(kReports) + "\n");
}

}  // namespace
