#include <algorithm>
#include <array>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <pwd.h>
#include <string>
#include <unistd.h>

#include "reports/virus_log/virus_log.h"
#include "tests/unit/product/virlog/run_virlog.h"

namespace fs = std::filesystem;

namespace {

using VirlogListingTest = VirlogProgramTest;

constexpr char kHeading[] = "TIME                 VIRUS  ACTION  USER  PATH\n";
constexpr char kCsvHeading[] = "time,component,virus,action,user,path,domain\r\n";
constexpr char kCsvStart[] = "2026-03-05 07:04:09,8000,Eicar-Signature,File is skipped,alice,";

std::string CsvOf(const std::string& path) {
    return kCsvStart + path + ",(none)\r\n";
}

// A run that ends well and says nothing.
std::string Listed(std::vector<std::string> arguments) {
    VirlogRun run(std::move(arguments));
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Errors(), "");
    return run.Output();
}

void ExpectFailure(const std::string& message) {
    VirlogRun run({"--format", "csv"});
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(run.Errors(), "corvane-virlog: " + message + "\n");
    EXPECT_FALSE(IsHeld(kMainKey));
    EXPECT_FALSE(IsHeld(kRecordKey));
}

TEST_F(VirlogListingTest, ShowsALogWrittenByHand) {
    WriteLog({Record(u"/tmp/a"), Record(u"/tmp/\u4e2d", 6)});
    EXPECT_EQ(Listed({}),
              "TIME                 VIRUS            ACTION           USER   PATH\n"
              "2026-03-05 07:04:09  Eicar-Signature  File is skipped  alice  /tmp/a\n"
              "2026-03-06 07:04:09  Eicar-Signature  File is skipped  alice  /tmp/\xE4\xB8\xAD\n");
    EXPECT_EQ(
        Listed({"--format", "csv"}),
        std::string(kCsvHeading) + CsvOf("/tmp/a") +
            "2026-03-06 07:04:09,8000,Eicar-Signature,File is skipped,alice,/tmp/\xE4\xB8\xAD,"
            "(none)\r\n");
    EXPECT_EQ(
        Listed({"--format=json", "--until=2026-03-05"}),
        "[\n{\"time\":\"2026-03-05T07:04:09\",\"component\":8000,\"virus\":\"Eicar-Signature\","
        "\"action\":\"File is skipped\",\"user\":\"alice\",\"path\":\"/tmp/a\",\"domain\":"
        "\"(none)\"}\n]\n");
}

TEST_F(VirlogListingTest, EscapesWhatTheLogHolds) {
    // 0xDCFF stands for the byte 0xFF of a name that is no UTF-8.
    WriteLog({Record(u"/tmp/a\nb\x1B[2J\\\u202E\xDCFF")});
    EXPECT_EQ(Listed({"--format", "csv"}),
              kCsvHeading + CsvOf(R"(/tmp/a\u{000a}b\u{001b}[2J\\\u{202e}\xff)"));
}

TEST_F(VirlogListingTest, FiltersByDateAndText) {
    WriteLog(
        {Record(u"/tmp/a", 4), Record(u"/tmp/b", 5), Record(u"/home/b", 5), Record(u"/tmp/b", 6)});
    EXPECT_EQ(Listed({"--format=csv", "--since=2026-03-05", "--until", "2026-03-05T07:04", "--text",
                      "/TMP", "--text=b"}),
              kCsvHeading + CsvOf("/tmp/b"));
    EXPECT_EQ(Listed({"--text", "nowhere"}), kHeading);
    EXPECT_EQ(Listed({"--format=json", "--since=2027-01-01"}), "[]\n");
}

TEST_F(VirlogListingTest, ShowsWhatIsAdded) {
    ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/tmp/one", "Virus.One", "File is Deleted"));
    ASSERT_TRUE(ZQVRAddRecVirusReport(7, "/tmp/t\xFFwo", "Virus,Two", "File is Repaired"));
    const std::string csv = Listed({"--format", "csv"});
    const passwd* const me = getpwuid(geteuid());
    ASSERT_NE(me, nullptr);
    const std::string user = me->pw_name;
    EXPECT_NE(csv.find(",8000,Virus.One,File is Deleted," + user + ",/tmp/one,"), std::string::npos)
        << csv;
    EXPECT_NE(csv.find(",7,\"Virus,Two\",File is Repaired," + user + ",/tmp/t\\xffwo,"),
              std::string::npos)
        << csv;
}

TEST_F(VirlogListingTest, LeavesNoCopyBehind) {
    WriteLog({Record(u"/tmp/a")});
    Listed({});
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(kReports)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"RecOffset.dat", "VirRcONE.dat"}));
}

TEST_F(VirlogListingTest, WritesOverItsUsersOldCopy) {
    WriteLog({Record(u"/tmp/a")});
    WriteFile(kCopy, std::string(100'000, 'x'));
    WriteFile(kReports + std::string("cpyOFFST.dat"), std::string(1000, 'x'));
    EXPECT_EQ(Listed({"--format", "csv"}), kCsvHeading + CsvOf("/tmp/a"));
    EXPECT_FALSE(Exists(kCopy));
}

TEST_F(VirlogListingTest, NothingLoggedIsAnEmptyList) {
    const auto expectNothing = [] {
        for (const auto& [format, output] :
             {std::pair{"table", kHeading}, std::pair{"csv", kCsvHeading},
              std::pair{"json", "[]\n"}}) {
            VirlogRun run({"--format", format});
            EXPECT_EQ(run.Status(), 0);
            EXPECT_EQ(run.Output(), output);
            EXPECT_EQ(run.Errors(), "corvane-virlog: nothing has been logged yet\n");
        }
    };
    expectNothing();
    // As installation makes the file.
    WriteFile(kRecords, "");
    expectNothing();
    fs::remove_all(kReports);
    expectNothing();
}

TEST_F(VirlogListingTest, ALogWithoutRecordsIsAnEmptyList) {
    WriteLog({});
    EXPECT_EQ(Listed({}), kHeading);
}

TEST_F(VirlogListingTest, WarnsOfDamageAndShowsTheRest) {
    // The second of three records promises more than there is before the third one.
    const std::string first = Record(u"/tmp/a");
    std::string second = Record(u"/tmp/b");
    second.replace(0, 4, Number(999998));
    WriteLog({first, second, Record(u"/tmp/c")});
    VirlogRun run({"--format", "csv"});
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Output(), kCsvHeading + CsvOf("/tmp/a") + CsvOf("/tmp/c"));
    EXPECT_EQ(run.Errors(),
              "corvane-virlog: the virus log is damaged: 234 bytes that belong to no record were "
              "passed over\n"
              "corvane-virlog: the virus log is damaged: 1 record that it counts is not in it\n");
}

TEST_F(VirlogListingTest, WarnsOfMissingRecords) {
    WriteFile(kRecords, Head(3) + Record(u"/tmp/a"));
    WriteFile(kOffsets, Number(88));
    VirlogRun run({"--format", "csv"});
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Output(), kCsvHeading + CsvOf("/tmp/a"));
    EXPECT_EQ(run.Errors(),
              "corvane-virlog: the virus log is damaged: 2 records that it counts are not in it\n");
}

TEST_F(VirlogListingTest, SaysWhatKeepsItFromReading) {
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

TEST_F(VirlogListingTest, NeedsTheProduct) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "the product directory is removed in a private root only";
    }
    fs::remove_all(kProduct);
    ExpectFailure("there is no product directory: /usr/lib/Corvane/Corvane/");
}

TEST_F(VirlogListingTest, AFullDiskIsAFailure) {
    WriteLog({Record(u"/tmp/a")});
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    for (const char* format :
         {"--format=table", "--format=csv", "--format=json", "--help", "--version", "--unlock"}) {
        VirlogRun run({format}, full.Get());
        EXPECT_EQ(run.Status(), 1) << format;
        EXPECT_EQ(run.Errors(),
                  "corvane-virlog: the output could not be written: No space left on device\n")
            << format;
    }
}

TEST_F(VirlogListingTest, AClosedPipeIsAQuietFailure) {
    WriteLog({Record(u"/tmp/a")});
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ::close(ends[0]);
    const FileDescriptor output(ends[1]);
    VirlogRun run({}, output.Get());
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Errors(), "");
}

TEST_F(VirlogListingTest, WithoutAStandardOutputNothingOfTheLogIsOverwritten) {
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

TEST_F(VirlogListingTest, WrongArgumentsAreSaidAndNothingIsTouched) {
    const Queue held(kMainKey);
    VirlogRun run({"--format", "xml"});
    EXPECT_EQ(run.Status(), 2);
    EXPECT_EQ(run.Output(), "");
    EXPECT_EQ(run.Errors(),
              "corvane-virlog: no such format: \"xml\"\nTry \"corvane-virlog --help\".\n");
}

TEST_F(VirlogListingTest, HelpAndVersionNeedNoLog) {
    const Queue held(kMainKey);
    EXPECT_EQ(Listed({"--help"}).substr(0, 23), "Usage: corvane-virlog [");
    EXPECT_EQ(Listed({"--version"}), "corvane-virlog " CORVANE_VERSION "\n");
}

// While it writes its output, no lock is held and no copy is there: a scan goes on undisturbed.
TEST_F(VirlogListingTest, ASlowReaderDisturbsNoScan) {
    const std::vector<std::string> records(2000, Record(u"/tmp/" + std::u16string(200, u'x')));
    WriteLog(records);
    for (const char* format : {"table", "csv", "json"}) {
        std::array<int, 2> ends{};
        ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        const FileDescriptor readEnd(ends[0]);
        FileDescriptor writeEnd(ends[1]);
        VirlogRun run({"--format", format}, writeEnd.Get());
        writeEnd.Reset();
        std::array<char, 4096> piece{};
        std::size_t total = 0;
        ssize_t got = ::read(readEnd.Get(), piece.data(), piece.size());
        ASSERT_GT(got, 0);
        // Far more is to come than a pipe holds: the program stands in the middle of its output.
        EXPECT_FALSE(IsHeld(kMainKey));
        EXPECT_FALSE(IsHeld(kRecordKey));
        EXPECT_FALSE(Exists(kCopy));
        EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/tmp/new", "Virus", "File is skipped"));
        for (; got > 0; got = ::read(readEnd.Get(), piece.data(), piece.size())) {
            total += static_cast<std::size_t>(got);
        }
        EXPECT_GT(total, 400'000U);
        EXPECT_EQ(run.Status(), 0);
    }
}

TEST_F(VirlogListingTest, SeveralAtOnceAllSeeTheWholeLog) {
    WriteLog(std::vector<std::string>(500, Record(u"/tmp/a")));
    const std::string expected = Listed({"--format", "csv"});
    std::vector<std::unique_ptr<VirlogRun>> runs;
    constexpr std::size_t kCount = 8;
    runs.reserve(kCount);
    while (runs.size() < kCount) {
        runs.push_back(std::make_unique<VirlogRun>(std::vector<std::string>{"--format", "csv"}));
    }
    for (const auto& run : runs) {
        EXPECT_EQ(run->Status(), 0);
        EXPECT_EQ(run->Errors(), "");
        EXPECT_EQ(run->Output(), expected);
    }
    EXPECT_FALSE(Exists(kCopy));
}

TEST_F(VirlogListingTest, AHundredThousandRecordsAreListedAtOnce) {
    WriteLog(std::vector<std::string>(100'000, Record(u"/home/alice/Downloads/a file.zip")));
    for (const char* format : {"table", "csv", "json"}) {
        const auto start = std::chrono::steady_clock::now();
        const std::string output = Listed({"--format", format});
        // Generous, for a sanitizer on a busy machine; it takes a tenth of a second without.
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
        EXPECT_GE(std::count(output.begin(), output.end(), '\n'), 100'001);
    }
}

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
