#include <array>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/unit/product/virlog/run_virlog.h"

// What keeps the program from listing, and how it says so.

namespace fs = std::filesystem;

namespace {

using VirlogFailureTest = VirlogProgramTest;

void ExpectFailure(const std::string& message) {
    VirlogRun run({"--format", "csv"});
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(run.Errors(), "corvane-virlog: " + message + "\n");
    EXPECT_FALSE(IsHeld(kMainKey));
    EXPECT_FALSE(IsHeld(kRecordKey));
}

TEST_F(VirlogFailureTest, SaysWhatKeepsItFromReading) {
    const std::string reports = kReports;
    WriteLog({Record(u"/tmp/a")});
    fs::remove(kOffsets);
    ExpectFailure("the virus log is not complete: " + reports + "RecOffset.dat is missing");

    fs::create_symlink("/etc/passwd", kOffsets);
    ExpectFailure("the virus log is left alone: " + reports +
                  "RecOffset.dat is a link or no plain file");

    fs::remove(kOffsets);
    WriteFile(kOffsets, "");
    WriteFile(kRecords, Head(0).substr(0, 87));
    ExpectFailure("the virus log is damaged: the head of " + reports +
                  "VirRcONE.dat does not fit the file");
    EXPECT_FALSE(Exists(kCopy));

    WriteFile(kRecords, "1234567");
    ExpectFailure("the virus log is damaged: " + reports + "VirRcONE.dat is shorter than its head");
    EXPECT_FALSE(Exists(kCopy));

    fs::remove_all(kReports);
    WriteFile(reports.substr(0, reports.size() - 1), "");
    ExpectFailure("the reports cannot be read: " + reports + ": Not a directory");
    fs::remove(reports.substr(0, reports.size() - 1));
}

TEST_F(VirlogFailureTest, LeavesNoCopyWhenMemoryIsShort) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs more address space than the limit of this test";
#endif
    constexpr std::size_t kRecords = 300'000;
    WriteLog(std::vector<std::string>(kRecords, Record(u"/tmp/a")));
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    // Enough to run and to copy, too little for all the records.
    const struct rlimit limit { 60U << 20U, before.rlim_max };
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &limit), 0);
    VirlogRun run({"--format", "csv"});
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(run.Errors(), "corvane-virlog: std::bad_alloc\n");
    EXPECT_FALSE(Exists(kCopy));
    EXPECT_FALSE(IsHeld(kMainKey));
    EXPECT_FALSE(IsHeld(kRecordKey));
}

TEST_F(VirlogFailureTest, WhatIsNoPlainFileIsNoEmptyLog) {
    WriteFile(kOffsets, "");
    const std::string message =
        "the virus log is left alone: /usr/lib/Corvane/Corvane/reports/VirRcONE.dat is a link or "
        "no plain file";
    ASSERT_EQ(::mkfifo(kRecords, 0666), 0);
    ExpectFailure(message);
    fs::remove(kRecords);
    fs::create_directory(kRecords);
    ExpectFailure(message);
}

TEST_F(VirlogFailureTest, ADirectoryInTheWayIsCalledOne) {
    WriteLog({Record(u"/tmp/a")});
    for (const char* name : {"cpyONE.dat", "cpyOFFST.dat"}) {
        const std::string copy = kReports + std::string(name);
        fs::create_directory(copy);
        ExpectFailure("no copy of the virus log can be made: " + copy + " is a directory");
        fs::remove(copy);
    }
}

TEST_F(VirlogFailureTest, GivesUpOnAFolderThatSomebodyKeepsLocked) {
    WriteLog({Record(u"/tmp/a")});
    const common::FileDescriptor folder(::open(kReports, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(folder.Get(), LOCK_EX), 0);
    VirlogRun run({"--format", "csv"});
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(run.Errors(),
              "corvane-virlog: waiting for another process that keeps "
              "/usr/lib/Corvane/Corvane/reports/ locked\n"
              "corvane-virlog: another process has kept /usr/lib/Corvane/Corvane/reports/ locked "
              "for half a minute; try again later\n");
}

TEST_F(VirlogFailureTest, NeedsTheProduct) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "the product directory is removed in a private root only";
    }
    fs::remove_all(kProduct);
    ExpectFailure("there is no product directory: /usr/lib/Corvane/Corvane/");
}

TEST_F(VirlogFailureTest, AFullDiskIsAFailure) {
    WriteLog({Record(u"/tmp/a")});
    const common::FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    for (const char* format :
         {"--format=table", "--format=csv", "--format=json", "--help", "--version", "--unlock"}) {
        VirlogRun run({format}, full.Get());
        EXPECT_EQ(run.Status(), 1) << format;
        EXPECT_EQ(run.Errors(),
                  "corvane-virlog: the output could not be written: No space left on device\n")
            << format;
    }
}

TEST_F(VirlogFailureTest, AClosedPipeIsAQuietFailure) {
    WriteLog({Record(u"/tmp/a")});
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ::close(ends[0]);
    const common::FileDescriptor output(ends[1]);
    VirlogRun run({}, output.Get());
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Errors(), "");
}

TEST_F(VirlogFailureTest, WithoutAStandardOutputNothingOfTheLogIsOverwritten) {
    WriteLog({Record(u"/tmp/a")});
    const std::string before = ReadFile(kRecords);
    EXPECT_EQ(InChild([] {
                  ::close(STDOUT_FILENO);
                  ::close(STDERR_FILENO);
                  ::execl(VIRLOG_PROGRAM, VIRLOG_PROGRAM, nullptr);
                  return 127;
              }),
              1);
    EXPECT_EQ(ReadFile(kRecords), before);
    EXPECT_FALSE(Exists(kCopy));
}

TEST_F(VirlogFailureTest, WrongArgumentsAreSaidAndNothingIsTouched) {
    const Queue held(kMainKey);
    VirlogRun run({"--format", "xml"});
    EXPECT_EQ(run.Status(), 2);
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(run.Errors(),
              "corvane-virlog: no such format: \"xml\"\nTry \"corvane-virlog --help\".\n");
}

TEST_F(VirlogFailureTest, HelpAndVersionNeedNoLog) {
    const Queue held(kMainKey);
    EXPECT_EQ(Listed({"--help"}).substr(0, 23), "Usage: corvane-virlog [");
    EXPECT_EQ(Listed({"--version"}), "corvane-virlog " CORVANE_VERSION "\n");
}

}  // namespace
