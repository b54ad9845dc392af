#include <algorithm>
#include <array>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "reports/virus_log/virus_log.h"
#include "tests/unit/product/virlog/run_virlog.h"

namespace fs = std::filesystem;

namespace {

using VirlogListingTest = VirlogProgramTest;

constexpr char kHeading[] = "TIME                 VIRUS  ACTION  USER  PATH\n";

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

TEST_F(VirlogListingTest, ItsUsersOldCopyWithAnotherNameIsRemovedAndNotWrittenTo) {
    WriteLog({Record(u"/tmp/a")});
    const std::string other = kReports + std::string("other");
    for (const char* name : {"cpyONE.dat", "cpyOFFST.dat"}) {
        WriteFile(other, "precious");
        fs::create_hard_link(other, kReports + std::string(name));
        EXPECT_EQ(Listed({"--format", "csv"}), kCsvHeading + CsvOf("/tmp/a")) << name;
        EXPECT_EQ(ReadFile(other), "precious") << name;
        EXPECT_FALSE(Exists(kReports + std::string(name)));
    }
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

TEST_F(VirlogListingTest, WarnsOfMissingRecordsOfATornLog) {
    WriteFile(kRecords, Head(3) + Record(u"/tmp/a") + "half");
    WriteFile(kOffsets, Number(88));
    VirlogRun run({"--format", "csv"});
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Output(), kCsvHeading + CsvOf("/tmp/a"));
    EXPECT_EQ(run.Errors(),
              "corvane-virlog: the virus log is damaged: 4 bytes that belong to no record were "
              "passed over\n"
              "corvane-virlog: the virus log is damaged: 2 records that it counts are not in it\n");
}

// As a killed writer and every trim leave it.
TEST_F(VirlogListingTest, ACountThatIsTooHighIsNoDamage) {
    WriteFile(kRecords, Head(3) + Record(u"/tmp/a"));
    WriteFile(kOffsets, Number(88));
    EXPECT_EQ(Listed({"--format", "csv"}), kCsvHeading + CsvOf("/tmp/a"));
}

// While it writes its output, no lock is held and no copy is there: a scan goes on undisturbed.
TEST_F(VirlogListingTest, ASlowReaderDisturbsNoScan) {
    const std::vector<std::string> records(2000, Record(u"/tmp/" + std::u16string(200, u'x')));
    WriteLog(records);
    for (const char* format : {"table", "csv", "json"}) {
        std::array<int, 2> ends{};
        ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        const common::FileDescriptor readEnd(ends[0]);
        common::FileDescriptor writeEnd(ends[1]);
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
    constexpr auto kWaiting =
        "corvane-virlog: waiting for another process that keeps "
        "/usr/lib/Corvane/Corvane/reports/ locked\n";
    runs.reserve(kCount);
    while (runs.size() < kCount) {
        runs.push_back(std::make_unique<VirlogRun>(std::vector<std::string>{"--format", "csv"}));
    }
    for (const auto& run : runs) {
        EXPECT_EQ(run->Status(), 0);
        // Where they are slow, the last ones wait for more than a second and say so.
        EXPECT_THAT(run->Errors(), ::testing::AnyOf("", kWaiting));
        EXPECT_EQ(run->Output(), expected);
    }
    EXPECT_FALSE(Exists(kCopy));
}

TEST_F(VirlogListingTest, AHundredThousandRecordsAreAllListed) {
    constexpr std::size_t kCount = 100'000;
    WriteLog(std::vector<std::string>(kCount, Record(u"/home/alice/Downloads/a file.zip")));
    const auto expect = [](const char* format, std::string expected, const std::string& line,
                           const std::string& end) {
        for (std::size_t i = 0; i < kCount; ++i) {
            expected += line;
        }
        // Not EXPECT_EQ, which would look for a difference line by line.
        EXPECT_TRUE(Listed({"--format", format}) == expected + end) << format;
    };
    expect("table", "TIME                 VIRUS            ACTION           USER   PATH\n",
           "2026-03-05 07:04:09  Eicar-Signature  File is skipped  alice  "
           "/home/alice/Downloads/a file.zip\n",
           "");
    expect("csv", kCsvHeading, CsvOf("/home/alice/Downloads/a file.zip"), "");
    const std::string object =
        "{\"time\":\"2026-03-05T07:04:09\",\"component\":8000,\"virus\":\"Eicar-Signature\","
        "\"action\":\"File is skipped\",\"user\":\"alice\",\"path\":"
        "\"/home/alice/Downloads/a file.zip\",\"domain\":\"(none)\"}";
    const std::string json = Listed({"--format", "json"});
    EXPECT_EQ(json.substr(0, 2 + object.size()), "[\n" + object);
    EXPECT_EQ(std::count(json.begin(), json.end(), '{'), static_cast<std::ptrdiff_t>(kCount));
    EXPECT_TRUE(json.ends_with(",\n" + object + "\n]\n"));
}

// What was added during a reset and waits for a merge.
TEST_F(VirlogListingTest, RecordsOfTheSecondFileAreListedAfterThoseOfTheFirst) {
    WriteLog({Record(u"/tmp/a"), Record(u"/tmp/b", 6)});
    WriteFile(kSecondRecords, Head(2) + Record(u"/tmp/c") + Record(u"/tmp/d", 4));
    EXPECT_EQ(Listed({}),
              "TIME                 VIRUS            ACTION           USER   PATH\n"
              "2026-03-05 07:04:09  Eicar-Signature  File is skipped  alice  /tmp/a\n"
              "2026-03-06 07:04:09  Eicar-Signature  File is skipped  alice  /tmp/b\n"
              "2026-03-05 07:04:09  Eicar-Signature  File is skipped  alice  /tmp/c\n"
              "2026-03-04 07:04:09  Eicar-Signature  File is skipped  alice  /tmp/d\n");
    EXPECT_EQ(Listed({"--format", "csv", "--since", "2026-03-05", "--until", "2026-03-05"}),
              kCsvHeading + CsvOf("/tmp/a") + CsvOf("/tmp/c"));
    EXPECT_EQ(Listed({"--format", "json", "--text", "/tmp/c"}),
              "[\n{\"time\":\"2026-03-05T07:04:09\",\"component\":8000,\"virus\":"
              "\"Eicar-Signature\",\"action\":\"File is skipped\",\"user\":\"alice\",\"path\":"
              "\"/tmp/c\",\"domain\":\"(none)\"}\n]\n");
    EXPECT_EQ(ReadFile(kSecondRecords), Head(2) + Record(u"/tmp/c") + Record(u"/tmp/d", 4));
}

TEST_F(VirlogListingTest, RecordsOfTheSecondFileAreListedWithoutAFirst) {
    const std::string second = Head(7) + Record(u"/tmp/b");
    WriteFile(kSecondRecords, second);
    EXPECT_EQ(Listed({"--format", "csv"}), kCsvHeading + CsvOf("/tmp/b"));
    // As installation makes it.
    WriteFile(kRecords, "");
    EXPECT_EQ(Listed({"--format", "csv"}), kCsvHeading + CsvOf("/tmp/b"));
    EXPECT_EQ(ReadFile(kSecondRecords), second);
    EXPECT_FALSE(Exists(kCopy));
}

// The listing of a log whose first file holds one record, and what is said beside it.
void ExpectFirstAndSaid(const std::string& said) {
    VirlogRun run({"--format", "csv"});
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Output(), kCsvHeading + CsvOf("/tmp/a"));
    EXPECT_EQ(run.Errors(), said);
}

TEST_F(VirlogListingTest, ASecondFileWithoutRecordsIsPassedOver) {
    WriteLog({Record(u"/tmp/a")});
    for (const std::string& second : {std::string(), Head(0), Head(3)}) {
        WriteFile(kSecondRecords, second);
        ExpectFirstAndSaid("");
    }
}

TEST_F(VirlogListingTest, SaysWhatIsWrongWithTheSecondFile) {
    WriteLog({Record(u"/tmp/a")});
    const std::string path = kSecondRecords;
    WriteFile(path, Head(3).substr(0, 87));
    ExpectFirstAndSaid("corvane-virlog: the virus log is damaged: " + path +
                       " is shorter than its head\n");
    WriteFile(path, Head(2) + "half");
    ExpectFirstAndSaid(
        "corvane-virlog: the virus log is damaged: 4 bytes that belong to no record were passed "
        "over\n"
        "corvane-virlog: the virus log is damaged: 2 records that it counts are not in it\n");
    fs::remove(path);
    ASSERT_EQ(::mkfifo(path.c_str(), 0666), 0);
    const std::string notListed =
        "corvane-virlog: the records that wait in " + path + " are not listed: ";
    ExpectFirstAndSaid(notListed + "Operation not permitted\n");
    fs::remove(path);
    fs::create_directory(path);
    ExpectFirstAndSaid(notListed + "Operation not permitted\n");
    fs::remove(path);
    fs::create_symlink("/etc/passwd", path);
    ExpectFirstAndSaid(notListed + "Too many levels of symbolic links\n");
}

}  // namespace
