#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "tests/unit/product/virlog/run_virlog.h"

// corvane-virlog --keep, which cuts the log. Where records are removed it takes ten seconds.

namespace fs = std::filesystem;

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using VirlogKeepTest = VirlogProgramTest;
using Clock = std::chrono::steady_clock;

constexpr char kTakesTime[] = "corvane-virlog: cutting the log takes about ten seconds\n";

// Cuts the log to `count`, which ends well, says `output` and takes the time of a reset or not.
void ExpectKept(const std::string& count, const std::string& output, bool isReset) {
    VirlogRun run({"--keep", count});
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Output(), output);
    EXPECT_EQ(run.Errors(), isReset ? kTakesTime : "");
    EXPECT_FALSE(IsHeld(kMainKey));
    EXPECT_FALSE(IsHeld(kRecordKey));
    EXPECT_FALSE(Exists(kSecondRecords));
}

void ExpectFailed(const std::string& said) {
    VirlogRun run({"--keep", "0"});
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(run.Errors(), "corvane-virlog: " + said + "\n");
    EXPECT_FALSE(IsHeld(kMainKey));
    EXPECT_FALSE(IsHeld(kRecordKey));
}

TEST_F(VirlogKeepTest, TheNewestRecordsStay) {
    WriteLog({Record(u"/tmp/a"), Record(u"/tmp/b"), Record(u"/tmp/c")});
    ExpectKept("2", "1 record removed, 2 stay\n", true);
    EXPECT_EQ(ReadFile(kRecords), Head(2) + Record(u"/tmp/b") + Record(u"/tmp/c"));
    EXPECT_EQ(ReadFile(kOffsets).substr(0, 8), Number(88) + Number(322));
    EXPECT_EQ(Listed({"--format", "csv"}), kCsvHeading + CsvOf("/tmp/b") + CsvOf("/tmp/c"));
}

// Those that wait for a merge are the newest, and a count that is too high counts for nothing.
TEST_F(VirlogKeepTest, RecordsThatWaitAreAmongTheNewest) {
    WriteLog({Record(u"/tmp/a"), Record(u"/tmp/b")});
    WriteFile(kRecords, Head(9) + Record(u"/tmp/a") + Record(u"/tmp/b"));
    WriteFile(kSecondRecords, Head(5) + Record(u"/tmp/c") + Record(u"/tmp/d"));
    ExpectKept("1", "3 records removed, 1 stays\n", true);
    EXPECT_EQ(ReadFile(kRecords), Head(1) + Record(u"/tmp/d"));
}

TEST_F(VirlogKeepTest, NoneClearsTheLog) {
    WriteLog({Record(u"/tmp/a"), Record(u"/tmp/b")});
    ExpectKept("0", "2 records removed, 0 stay\n", true);
    EXPECT_EQ(ReadFile(kRecords), Head(0));
    EXPECT_EQ(Listed({"--format=csv"}), kCsvHeading);
}

TEST_F(VirlogKeepTest, ALogThatIsSmallEnoughIsOnlyMerged) {
    WriteLog({Record(u"/tmp/a")});
    const Clock::time_point start = Clock::now();
    for (const char* count : {"1", "2", "4294967295"}) {
        ExpectKept(count, "0 records removed, 1 stays\n", false);
        EXPECT_EQ(ReadFile(kRecords), Head(1) + Record(u"/tmp/a"));
    }
    WriteFile(kSecondRecords, Head(1) + Record(u"/tmp/b"));
    ExpectKept("2", "0 records removed, 2 stay\n", false);
    EXPECT_EQ(ReadFile(kRecords), Head(2) + Record(u"/tmp/a") + Record(u"/tmp/b"));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(9)) << "nothing was to be waited for";
}

TEST_F(VirlogKeepTest, NothingLoggedIsNoFailure) {
    for (const bool isInstalled : {false, true}) {
        if (isInstalled) {
            WriteFile(kRecords, "");
        }
        VirlogRun run({"--keep", "0"});
        EXPECT_EQ(run.Status(), 0);
        EXPECT_EQ(run.Output(), "");
        EXPECT_EQ(run.Errors(), "corvane-virlog: nothing has been logged yet\n");
        EXPECT_EQ(Exists(kRecords), isInstalled);
    }
}

TEST_F(VirlogKeepTest, SaysWhyItCouldNot) {
    const std::string path = kRecords;
    const std::string torn = Head(2) + Record(u"/tmp/a") + "half";
    WriteFile(path, torn);
    ExpectFailed("the virus log is damaged and cannot be cut: " + path);
    EXPECT_EQ(ReadFile(path), torn);
    WriteFile(path, "short");
    ExpectFailed("the virus log is damaged: " + path + " is shorter than its head");
    fs::remove(path);
    fs::create_symlink("/etc/passwd", path);
    ExpectFailed("the virus log is left alone: " + path + " is a link or no plain file");
    fs::remove(path);
    WriteLog({Record(u"/tmp/a")});
    fs::create_directory(kReports + std::string("tempdel.dat"));
    ExpectFailed("the virus log could not be cut in " + std::string(kReports));
    EXPECT_EQ(ReadFile(path), Head(1) + Record(u"/tmp/a"));
}

TEST_F(VirlogKeepTest, NeedsTheProduct) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "the product directory is removed in a private root only";
    }
    fs::remove_all(kProduct);
    ExpectFailed("there is no product directory: /usr/lib/Corvane/Corvane/");
}

TEST_F(VirlogKeepTest, WaitsForAnotherProcessAndGivesUp) {
    WriteLog({Record(u"/tmp/a")});
    const Queue held(kRecordKey);
    VirlogRun run({"--keep", "0"});
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Output(), "");
    EXPECT_THAT(run.Errors(), StartsWith("corvane-virlog: waiting for lock \"10011\" (queue "));
    EXPECT_THAT(run.Errors(),
                HasSubstr("corvane-virlog: another process holds the virus log: lock \"10011\""));
    EXPECT_EQ(ReadFile(kRecords), Head(1) + Record(u"/tmp/a"));
    EXPECT_FALSE(IsHeld(kMainKey));
}

// A signal cuts the waiting short, not the work: no lock is left behind, and the log is whole.
TEST_F(VirlogKeepTest, EndsSoonWhenItIsTold) {
    WriteLog({Record(u"/tmp/a"), Record(u"/tmp/b")});
    WriteFile(kSecondRecords, "");
    VirlogRun run({"--keep", "1"});
    ASSERT_TRUE(WaitUntil([&run] { return run.Errors() == kTakesTime; }));
    const Clock::time_point start = Clock::now();
    run.Signal(SIGTERM);
    EXPECT_EQ(run.Status(), 128 + SIGTERM);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
    EXPECT_FALSE(IsHeld(kMainKey));
    EXPECT_FALSE(IsHeld(kRecordKey));
    EXPECT_EQ(ReadFile(kRecords), Head(1) + Record(u"/tmp/b"));
    EXPECT_THAT(ReadFile(kReports + std::string("VirMain.dat")),
                StartsWith(Number(0) + "VirRcONE"));
}

TEST_F(VirlogKeepTest, AFullDiskBehindTheOutputIsAFailure) {
    WriteLog({Record(u"/tmp/a")});
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    VirlogRun run({"--keep", "1"}, full.Get());
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Errors(),
              "corvane-virlog: the output could not be written: No space left on device\n");
}

}  // namespace
