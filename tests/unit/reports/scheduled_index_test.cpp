#include "reports/scheduled_index.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "common/locks.h"
#include "common/text_field.h"
#include "tests/support/scratch.h"

namespace fs = std::filesystem;

namespace {

constexpr char kReports[] = "/usr/lib/Corvane/Corvane/reports";
constexpr char kIndex[] = "/usr/lib/Corvane/Corvane/reports/schdmain.rpt";
constexpr std::size_t kHeaderSize = 19;
constexpr std::size_t kRecordSize = 1316;

class ScheduledIndex : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::getenv("CORVANE_SANDBOX") == nullptr) {
            GTEST_SKIP() << "the index has a fixed path; run inside tests/support/sandbox";
        }
        fs::remove_all(kReports);
        fs::create_directories(kReports);
    }

    static tagReportIndexEntry Entry(const std::string& report, std::uint32_t uid) {
        tagReportIndexEntry entry{};
        CopyToField(entry.dateTime, "21 Nov, 2026, 10:00:00 AM");
        CopyToField(entry.scanned, "/home");
        CopyToField(entry.reportPath, report);
        entry.userId = uid;
        return entry;
    }

    static std::string Append(const std::string& name, std::uint32_t uid) {
        std::string path = std::string(kReports) + "/" + name;
        std::ofstream(path) << "report";
        tagReportIndexEntry entry = Entry(path, uid);
        EXPECT_TRUE(ScanReports().MakeIndexEntry(&entry));
        return path;
    }

    static std::string Bytes() {
        std::ifstream file(kIndex, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static void SetBytes(const std::string& bytes) {
        std::ofstream(kIndex, std::ios::binary | std::ios::trunc) << bytes;
    }

    // The report names that a user sees, in file order.
    static std::vector<std::string> Listed(unsigned int uid) {
        std::vector<tagReportIndexEntry> entries;
        unsigned int err = 77;
        EXPECT_TRUE(ReadIndexEntry(1001, entries, uid, &err));
        EXPECT_EQ(err, 0U);
        std::vector<std::string> names;
        names.reserve(entries.size());
        for (const tagReportIndexEntry& entry : entries) {
            names.push_back(fs::path(std::string(FieldText(entry.reportPath))).filename());
        }
        return names;
    }

    static mode_t Mode() {
        struct stat status {};
        EXPECT_EQ(stat(kIndex, &status), 0);
        return status.st_mode & 07777U;
    }
};

using Names = std::vector<std::string>;

TEST_F(ScheduledIndex, AMissingIndexIsCreatedAndTheFirstRecordStartsAtOffset19) {
    umask(0);
    Append("schd0001.rpt", 1000);
    const std::string bytes = Bytes();
    ASSERT_EQ(bytes.size(), kHeaderSize + kRecordSize);
    EXPECT_EQ(bytes.substr(0, 8), std::string(8, '\0'));
    EXPECT_EQ(bytes.substr(8, 11), std::string("\x01\0\0\0\0\0\0\0\0\0\0", 11));
    EXPECT_EQ(bytes.substr(19, 26), std::string("21 Nov, 2026, 10:00:00 AM\0", 26));
    EXPECT_EQ(bytes.substr(19 + 32, 6), std::string("/home\0", 6));
    EXPECT_STREQ(bytes.c_str() + 19 + 288, "/usr/lib/Corvane/Corvane/reports/schd0001.rpt");
    EXPECT_EQ(bytes.substr(19 + 1312), std::string("\xE8\x03\0\0", 4));
    EXPECT_EQ(Mode(), 0644U);
}

TEST_F(ScheduledIndex, EachRecordRaisesTheCountAndLandsAtTheEnd) {
    Append("a", 1);
    Append("b", 2);
    Append("c", 1);
    const std::string bytes = Bytes();
    EXPECT_EQ(bytes.size(), kHeaderSize + 3 * kRecordSize);
    EXPECT_EQ(bytes[8], 3);
    EXPECT_EQ(Listed(0), (Names{"a", "b", "c"}));
}

TEST_F(ScheduledIndex, ANullEntryOrAMissingFolderFails) {
    EXPECT_FALSE(ScanReports().MakeIndexEntry(nullptr));
    EXPECT_FALSE(fs::exists(kIndex));
    fs::remove_all(kReports);
    tagReportIndexEntry entry = Entry("x", 1);
    EXPECT_FALSE(ScanReports().MakeIndexEntry(&entry)) << "the folder is missing";
}

TEST_F(ScheduledIndex, AMissingIndexIsError1001) {
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 0;
    EXPECT_FALSE(ReadIndexEntry(1001, entries, 0, &err));
    EXPECT_EQ(err, 1001U);
    EXPECT_FALSE(ReadIndexEntry(1001, entries, 0, nullptr));
}

TEST_F(ScheduledIndex, AnIndexThatCannotBeOpenedIsError1002) {
    // A folder in its place is there, but cannot be opened for writing.
    fs::create_directory(kIndex);
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 0;
    EXPECT_FALSE(WriteIndexEntry(1001, entries, &err));
    EXPECT_EQ(err, 1002U);
    EXPECT_FALSE(WriteIndexEntry(1001, entries, nullptr));
    fs::remove(kIndex);
    if (getuid() == 0) {
        Append("a", 1);
        chmod(kIndex, 0);
        const pid_t child = fork();
        if (child == 0) {
            unsigned int reason = 0;
            const bool dropped = setuid(65534) == 0;
            const bool read = ReadIndexEntry(1001, entries, 0, &reason);
            _exit(dropped && !read && reason == 1002 ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

TEST_F(ScheduledIndex, AnIndexThatCannotSeekIsError1004) {
    ASSERT_EQ(mkfifo(kIndex, 0644), 0);
    const int writer = open(kIndex, O_RDWR | O_CLOEXEC);
    ASSERT_GE(writer, 0);
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 0;
    EXPECT_FALSE(ReadIndexEntry(1001, entries, 0, &err));
    EXPECT_EQ(err, 1004U);
    close(writer);
}

TEST_F(ScheduledIndex, AHeaderThatIsNotWholeIsError1005) {
    for (const std::size_t size : {0U, 7U, 8U, 18U}) {
        SetBytes(std::string(size, '\0'));
        std::vector<tagReportIndexEntry> entries;
        unsigned int err = 0;
        EXPECT_FALSE(ReadIndexEntry(1001, entries, 0, &err)) << size;
        EXPECT_EQ(err, 1005U) << size;
    }
}

TEST_F(ScheduledIndex, CutAnywhereItListsTheWholeRecords) {
    Append("a", 1);
    Append("b", 1);
    const std::string whole = Bytes();
    for (std::size_t size = kHeaderSize; size <= whole.size(); ++size) {
        SetBytes(whole.substr(0, size));
        ASSERT_EQ(Listed(0).size(), (size - kHeaderSize) / kRecordSize) << size;
    }
}

TEST_F(ScheduledIndex, TheHeadersCountIsNotConsulted) {
    Append("a", 1);
    std::string bytes = Bytes();
    for (const std::string& count :
         {std::string(4, '\0'), std::string("\0\0\0\x80", 4), std::string("\xFF\xFF\xFF\xFF")}) {
        bytes.replace(8, 4, count);
        SetBytes(bytes);
        EXPECT_EQ(Listed(0), Names{"a"});
    }
}

TEST_F(ScheduledIndex, UnterminatedAndBinaryRecordsAreRead) {
    SetBytes(std::string(kHeaderSize + 2 * kRecordSize, '\xFF'));
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 0;
    ASSERT_TRUE(ReadIndexEntry(1001, entries, 0, &err));
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(FieldText(entries[0].reportPath).size(), 1024U);
    EXPECT_FALSE(DeleteReportForFile(1001, "/nowhere", 0, &err));
    EXPECT_EQ(err, 1025U);
}

TEST_F(ScheduledIndex, AnEndlessIndexIsReadOnlySoFar) {
    Append("a", 1);
    fs::resize_file(kIndex, std::uintmax_t{kRecordSize} * 200'000);  // a hole, no room on the disk
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 0;
    EXPECT_TRUE(ReadIndexEntry(1001, entries, 0, &err));
    EXPECT_EQ(entries.size(), 100'000U);
}

TEST_F(ScheduledIndex, AUserSeesTheirOwnRecordsAndTheSuperuserAll) {
    Append("a", 500);
    Append("b", 501);
    Append("c", 500);
    EXPECT_EQ(Listed(0), (Names{"a", "b", "c"}));
    EXPECT_EQ(Listed(500), (Names{"a", "c"}));
    EXPECT_EQ(Listed(502), Names{});
}

TEST_F(ScheduledIndex, ReadingAppendsToWhatTheVectorHolds) {
    Append("a", 1);
    std::vector<tagReportIndexEntry> entries{Entry("before", 9)};
    unsigned int err = 0;
    ASSERT_TRUE(ReadIndexEntry(1001, entries, 0, &err));
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_STREQ(entries[0].reportPath, "before");
}

TEST_F(ScheduledIndex, RewritingReplacesTheWholeFile) {
    Append("a", 1);
    Append("b", 1);
    std::string bytes = Bytes();
    bytes.replace(0, kHeaderSize, std::string(kHeaderSize, 'x'));
    SetBytes(bytes);
    std::vector<tagReportIndexEntry> entries{Entry("only", 7)};
    unsigned int err = 77;
    EXPECT_TRUE(WriteIndexEntry(1001, entries, &err));
    EXPECT_EQ(err, 0U);
    bytes = Bytes();
    ASSERT_EQ(bytes.size(), kHeaderSize + kRecordSize);
    EXPECT_EQ(bytes.substr(0, kHeaderSize),
              std::string("\0\0\0\0\0\0\0\0\x01\0\0\0\0\0\0\0\0\0\0", 19));
    EXPECT_STREQ(bytes.c_str() + 19 + 288, "only");
}

TEST_F(ScheduledIndex, RewritingCreatesAMissingIndex) {
    umask(0);
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 77;
    EXPECT_TRUE(WriteIndexEntry(1001, entries, &err));
    EXPECT_EQ(Bytes(), std::string(kHeaderSize, '\0'));
    EXPECT_EQ(Mode(), 0644U);
}

TEST_F(ScheduledIndex, ItsModeIsKept) {
    const mode_t before = umask(077);
    Append("a", 1);
    EXPECT_EQ(Mode(), 0644U);
    chmod(kIndex, 0600);
    Append("b", 1);
    EXPECT_EQ(Mode(), 0644U);
    fs::remove(kIndex);
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 77;
    EXPECT_TRUE(WriteIndexEntry(1001, entries, &err));
    EXPECT_EQ(Mode(), 0644U);
    umask(before);
}

TEST_F(ScheduledIndex, RewritingWaitsForTheLock) {
    Append("a", 1);
    const FileDescriptor index(open(kIndex, O_RDWR | O_CLOEXEC));
    ASSERT_EQ(LockFileHandle(index.Get()), 0);
    const pid_t other = StartChild([] {
        std::vector<tagReportIndexEntry> none;
        unsigned int reason = 77;
        return WriteIndexEntry(1001, none, &reason) ? 0 : 1;
    });
    EXPECT_TRUE(WaitUntil([other] {
        return ReadFile("/proc/locks")
                   .find("-> POSIX  ADVISORY  WRITE " + std::to_string(other) + " ") !=
               std::string::npos;
    }));
    // The file is not opened here: closing it would give up this process's lock.
    EXPECT_EQ(fs::file_size(kIndex), kHeaderSize + kRecordSize) << "nothing is lost meanwhile";
    // Neither reading nor appending waits.
    EXPECT_EQ(InChild([] {
                  tagReportIndexEntry entry = Entry("b", 1);
                  std::vector<tagReportIndexEntry> entries;
                  unsigned int reason = 77;
                  return ScanReports().MakeIndexEntry(&entry) &&
                                 ReadIndexEntry(1001, entries, 0, &reason) && entries.size() == 2
                             ? 0
                             : 1;
              }),
              0);
    ASSERT_EQ(UnlockFileHandle(index.Get()), 0);
    EXPECT_EQ(JoinChild(other), 0);
    EXPECT_EQ(Bytes(), std::string(kHeaderSize, '\0'));
}

TEST_F(ScheduledIndex, TheSuperusersDeletionKeepsEveryOtherRecord) {
    Append("a", 500);
    const std::string path = Append("b", 501);
    Append("c", 502);
    unsigned int err = 77;
    EXPECT_TRUE(DeleteReportForFile(1001, path.c_str(), 0, &err));
    EXPECT_EQ(err, 0U);
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(Listed(0), (Names{"a", "c"}));
    EXPECT_EQ(Bytes()[8], 2);
}

TEST_F(ScheduledIndex, AUsersDeletionLosesTheRecordsOfAllOthersButNotTheirFiles) {
    const std::string first = Append("a", 500);
    const std::string other = Append("b", 501);
    Append("c", 500);
    unsigned int err = 77;
    EXPECT_TRUE(DeleteReportForFile(1001, first.c_str(), 500, &err));
    EXPECT_EQ(Listed(0), Names{"c"});
    EXPECT_TRUE(fs::exists(other));
}

TEST_F(ScheduledIndex, AUserCannotDeleteAnothersReport) {
    const std::string path = Append("a", 501);
    Append("b", 500);
    unsigned int err = 0;
    EXPECT_FALSE(DeleteReportForFile(1001, path.c_str(), 500, &err));
    EXPECT_EQ(err, 1025U);
    EXPECT_TRUE(fs::exists(path));
    EXPECT_EQ(Listed(0), (Names{"a", "b"}));
}

TEST_F(ScheduledIndex, PathsCompareByteForByteAndOnlyTheFirstIsRemoved) {
    const std::string path = Append("twice", 1);
    Append("twice", 1);
    unsigned int err = 0;
    EXPECT_FALSE(DeleteReportForFile(1001, (path + "x").c_str(), 0, &err));
    EXPECT_FALSE(DeleteReportForFile(1001, "/usr/lib/corvane/corvane/reports/twice", 0, &err));
    EXPECT_EQ(err, 1025U);
    EXPECT_TRUE(DeleteReportForFile(1001, path.c_str(), 0, &err));
    EXPECT_EQ(Listed(0), Names{"twice"});
    EXPECT_TRUE(DeleteReportForFile(1001, path.c_str(), 0, &err)) << "its file is gone already";
    EXPECT_EQ(Listed(0), Names{});
}

TEST_F(ScheduledIndex, DeletionChecksItsArgumentsAndTheIndex) {
    unsigned int err = 0;
    EXPECT_FALSE(DeleteReportForFile(1001, "x", 0, nullptr));
    EXPECT_FALSE(DeleteReportForFile(1001, nullptr, 0, &err));
    EXPECT_EQ(err, 2021U);
    EXPECT_FALSE(DeleteReportForFile(1001, "x", 0, &err));
    EXPECT_EQ(err, 1001U);
    std::vector<tagReportIndexEntry> none;
    ASSERT_TRUE(WriteIndexEntry(1001, none, &err));
    EXPECT_TRUE(DeleteReportForFile(1001, "x", 0, &err)) << "nothing to delete";
    EXPECT_EQ(err, 0U);
}

// Runs `work(process, round)` 1,000 times in each of four processes and waits for all of them.
template <typename Work>
void InFourProcesses(Work work) {
    std::vector<pid_t> children;
    for (int process = 0; process < 4; ++process) {
        children.push_back(fork());
        if (children.back() == 0) {
            for (int round = 0; round < 1000; ++round) {
                work("/gone/" + std::to_string(process) + "-" + std::to_string(round), round);
            }
            _exit(0);
        }
    }
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

// Every record lands whole at the end of the file. The count in the header is read and written back
// without a lock, so it may lag behind; nobody reads it.
TEST_F(ScheduledIndex, FourProcessesAppendingLoseNothing) {
    Append("first", 1);
    InFourProcesses([](const std::string& name, int) {
        tagReportIndexEntry entry = Entry(name, 1);
        ScanReports().MakeIndexEntry(&entry);
    });
    EXPECT_EQ(Bytes().size(), kHeaderSize + 4001 * kRecordSize);
    std::vector<std::string> names = Listed(0);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::unique(names.begin(), names.end()) - names.begin(), 4001);
}

// A deletion reads the list before it locks and rewrites the file. A record that another process
// appends in between is lost, and one that another process deletes in between comes back: the
// format cannot promise more. What stays true is that the file is a header and whole records that
// somebody wrote.
TEST_F(ScheduledIndex, FourProcessesAppendingAndDeletingLeaveAFileThatParses) {
    Append("first", 1);
    InFourProcesses([](const std::string& name, int round) {
        tagReportIndexEntry entry = Entry(name, 1);
        ScanReports().MakeIndexEntry(&entry);
        if (round % 2 == 1) {
            unsigned int reason = 0;
            DeleteReportForFile(1001, name.c_str(), 0, &reason);
        }
    });
    EXPECT_EQ((Bytes().size() - kHeaderSize) % kRecordSize, 0U);
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 0;
    ASSERT_TRUE(ReadIndexEntry(1001, entries, 0, &err));
    EXPECT_LE(entries.size(), 4001U);
    for (const tagReportIndexEntry& entry : entries) {
        const std::string name(FieldText(entry.reportPath));
        EXPECT_TRUE(name.rfind("/gone/", 0) == 0 || name.rfind(kReports, 0) == 0) << name;
        EXPECT_EQ(entry.userId, 1U);
    }
}

}  // namespace
