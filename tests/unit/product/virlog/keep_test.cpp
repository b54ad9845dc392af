#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "tests/unit/product/virlog/run_virlog.h"

// corvane-virlog --keep, which cuts the log.

namespace fs = std::filesystem;

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using VirlogKeepTest = VirlogProgramTest;
using Clock = std::chrono::steady_clock;

// Cuts the log to `count`, which ends well, soon, and says `output`.
void ExpectKept(const std::string& count, const std::string& output) {
    const Clock::time_point start = Clock::now();
    VirlogRun run({"--keep", count});
    EXPECT_EQ(run.Status(), 0);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(9)) << "nothing was to be waited for";
    EXPECT_EQ(run.Output(), output);
    EXPECT_EQ(run.Errors(), "");
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
    ExpectKept("2", "1 record removed, 2 stay\n");
    EXPECT_EQ(ReadFile(kRecords), Head(2) + Record(u"/tmp/b") + Record(u"/tmp/c"));
    EXPECT_EQ(ReadFile(kOffsets).substr(0, 8), Number(88) + Number(322));
    EXPECT_EQ(Listed({"--format", "csv"}), kCsvHeading + CsvOf("/tmp/b") + CsvOf("/tmp/c"));
}

// Those that wait for a merge are the newest, and a count that is too high counts for nothing.
TEST_F(VirlogKeepTest, RecordsThatWaitAreAmongTheNewest) {
    WriteLog({Record(u"/tmp/a"), Record(u"/tmp/b")});
    WriteFile(kRecords, Head(9) + Record(u"/tmp/a") + Record(u"/tmp/b"));
    WriteFile(kSecondRecords, Head(5) + Record(u"/tmp/c") + Record(u"/tmp/d"));
    ExpectKept("1", "3 records removed, 1 stays\n");
    EXPECT_EQ(ReadFile(kRecords), Head(1) + Record(u"/tmp/d"));
}

TEST_F(VirlogKeepTest, NoneClearsTheLog) {
    WriteLog({Record(u"/tmp/a"), Record(u"/tmp/b")});
    ExpectKept("0", "2 records removed, 0 stay\n");
    EXPECT_EQ(ReadFile(kRecords), Head(0));
    EXPECT_EQ(Listed({"--format=csv"}), kCsvHeading);
}

TEST_F(VirlogKeepTest, ALogThatIsSmallEnoughIsOnlyMerged) {
    WriteLog({Record(u"/tmp/a")});
    for (const char* count : {"1", "2", "4294967295"}) {
        ExpectKept(count, "0 records removed, 1 stays\n");
        EXPECT_EQ(ReadFile(kRecords), Head(1) + Record(u"/tmp/a"));
    }
    WriteFile(kSecondRecords, Head(1) + Record(u"/tmp/b"));
    ExpectKept("2", "0 records removed, 2 stay\n");
    EXPECT_EQ(ReadFile(kRecords), Head(2) + Record(u"/tmp/a") + Record(u"/tmp/b"));
}

// As installed, and then a reset was killed that had sent the first records to the second file.
TEST_F(VirlogKeepTest, AnEmptyLogTakesWhatWaits) {
    WriteFile(kRecords, "");
    WriteFile(kOffsets, "");
    WriteFile(kReports + std::string("VirMain.dat"),
              Number(1) + "VirRcTWO.dat" + std::string(88, '\0'));
    WriteFile(kSecondRecords, Head(2) + Record(u"/tmp/a") + Record(u"/tmp/b"));
    ExpectKept("1", "1 record removed, 1 stays\n");
    EXPECT_EQ(ReadFile(kRecords), Head(1) + Record(u"/tmp/b"));
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
    WriteFile(path, "");  // as installed
    WriteFile(kSecondRecords, "short");
    ExpectFailed("the virus log could not be cut in " + std::string(kReports));
    fs::remove(kSecondRecords);
    fs::remove(path);
    fs::create_symlink("/etc/passwd", path);
    ExpectFailed("the virus log is left alone: " + path + " is a link or no plain file");
    fs::remove(path);
    WriteLog({Record(u"/tmp/a")});
    fs::create_directory(kReports + std::string("tempdel.dat"));
    ExpectFailed("the virus log could not be cut in " + std::string(kReports));
    EXPECT_EQ(ReadFile(path), Head(1) + Record(u"/tmp/a"));
}

TEST_F(VirlogKeepTest, SaysThatThereIsNoRoom) {
    const TinyDisk disk(kReports, "64k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted";
    }
    std::vector<std::string> records(40, Record(u"/tmp/a"));
    WriteLog(records);
    WriteFile(kReports + std::string("VirMain.dat"),
              Number(0) + "VirRcONE.dat" + std::string(88, '\0'));
    const std::string before = ReadFile(kRecords);
    const std::string filler = kReports + std::string("full");
    const std::string said = "there is no room in " + std::string(kReports) +
                             " for the part of the virus log that stays";
    // One block is left, for a part of it only; then none.
    for (const std::size_t size : {40'960U, 45'056U}) {
        WriteFile(filler, std::string(size, 'x'));
        ASSERT_EQ(fs::file_size(filler), size);
        VirlogRun run({"--keep", "39"});
        EXPECT_EQ(run.Status(), 1) << size;
        EXPECT_EQ(run.Errors(), "corvane-virlog: " + said + "\n") << size;
        EXPECT_EQ(ReadFile(kRecords), before) << size;
    }
    fs::remove(filler);
    ExpectKept("39", "1 record removed, 39 stay\n");
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
    const std::string before = ReadFile(kRecords);
    const Queue held(kRecordKey);
    VirlogRun run({"--keep", "1"});
    ASSERT_TRUE(WaitUntil([&run] { return !run.Errors().empty(); }));
    EXPECT_TRUE(IsHeld(kMainKey));
    const Clock::time_point start = Clock::now();
    run.Signal(SIGTERM);
    EXPECT_EQ(run.Status(), 128 + SIGTERM);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
    EXPECT_FALSE(IsHeld(kMainKey));
    EXPECT_EQ(ReadFile(kRecords), before);
}

// While it works it is not to be ended: so many records that wait take it a moment.
TEST_F(VirlogKeepTest, EndsItsWorkWhenItIsTold) {
    constexpr std::uint32_t kCount = 30'000;
    std::string waiting;
    for (std::uint32_t i = 0; i < kCount; ++i) {
        waiting += Record(u"/tmp/w");
    }
    WriteLog({Record(u"/tmp/a")});
    WriteFile(kSecondRecords, Head(kCount) + waiting);
    VirlogRun run({"--keep", std::to_string(kCount)});
    ASSERT_TRUE(WaitUntil([] { return IsHeld(kRecordKey); }));
    run.Signal(SIGTERM);
    EXPECT_EQ(run.Status(), 128 + SIGTERM);
    EXPECT_FALSE(IsHeld(kMainKey));
    EXPECT_FALSE(IsHeld(kRecordKey));
    EXPECT_TRUE(ReadFile(kRecords) == Head(kCount) + waiting);
    EXPECT_FALSE(Exists(kSecondRecords));
}

// Both are there before either can begin.
TEST_F(VirlogKeepTest, TwoAtOnceLeaveAsManyAsOneOfThem) {
    WriteLog({Record(u"/tmp/a"), Record(u"/tmp/b"), Record(u"/tmp/c")});
    Queue held(kRecordKey);
    VirlogRun first({"--keep", "2"});
    VirlogRun second({"--keep", "2"});
    EXPECT_TRUE(WaitUntil([&] { return !first.Errors().empty() && !second.Errors().empty(); }));
    held.Remove();
    EXPECT_EQ(first.Status(), 0);
    EXPECT_EQ(second.Status(), 0);
    EXPECT_THAT(
        (std::vector{first.Output(), second.Output()}),
        testing::UnorderedElementsAre("1 record removed, 2 stay\n", "0 records removed, 2 stay\n"));
    EXPECT_EQ(ReadFile(kRecords), Head(2) + Record(u"/tmp/b") + Record(u"/tmp/c"));
}

TEST_F(VirlogKeepTest, AFullDiskBehindTheOutputIsAFailure) {
    WriteLog({Record(u"/tmp/a")});
    const common::FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    VirlogRun run({"--keep", "1"}, full.Get());
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Errors(),
              "corvane-virlog: the output could not be written: No space left on device\n");
}

}  // namespace
