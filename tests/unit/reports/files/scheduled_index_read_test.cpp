#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "common/text_field.h"
#include "reports/files/scheduled_index.h"
#include "tests/unit/reports/files/scheduled_index_fixture.h"

// Records appended to the index and read from it, sound or damaged.

namespace fs = std::filesystem;

namespace {

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

TEST_F(ScheduledIndex, ARecordLeavesTheReservedHeaderBytesAsTheyAre) {
    Append("a", 1);
    std::string bytes = Bytes();
    bytes.replace(12, 7, "ABCDEFG");
    SetBytes(bytes);
    Append("b", 1);
    EXPECT_EQ(Bytes().substr(0, kHeaderSize), std::string("\0\0\0\0\0\0\0\0\x02\0\0\0ABCDEFG", 19));
}

TEST_F(ScheduledIndex, ALinkInItsPlaceIsNotFollowed) {
    Append("a", 1);
    const std::string elsewhere = std::string(kReports) + "/elsewhere";
    fs::rename(kIndex, elsewhere);
    fs::create_symlink(elsewhere, kIndex);
    const std::string before = ReadFile(elsewhere);
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 0;
    EXPECT_FALSE(ReadIndexEntry(1001, entries, 0, &err));
    EXPECT_EQ(err, 1002U);
    EXPECT_FALSE(WriteIndexEntry(1001, entries, &err));
    EXPECT_EQ(err, 1002U);
    tagReportIndexEntry entry = Entry("b", 1);
    EXPECT_FALSE(reports::AppendScheduledEntry(&entry));
    EXPECT_EQ(ReadFile(elsewhere), before);
    fs::remove(elsewhere);
    EXPECT_FALSE(reports::AppendScheduledEntry(&entry)) << "nor does it create a file";
    EXPECT_FALSE(WriteIndexEntry(1001, entries, &err));
    EXPECT_FALSE(fs::exists(elsewhere));
}

TEST_F(ScheduledIndex, ANullEntryOrAMissingFolderFails) {
    EXPECT_FALSE(reports::AppendScheduledEntry(nullptr));
    EXPECT_FALSE(fs::exists(kIndex));
    fs::remove_all(kReports);
    tagReportIndexEntry entry = Entry("x", 1);
    EXPECT_FALSE(reports::AppendScheduledEntry(&entry)) << "the folder is missing";
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

TEST_F(ScheduledIndex, NobodyWaitsAtAFifo) {
    ASSERT_EQ(mkfifo(kIndex, 0644), 0);
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 0;
    EXPECT_FALSE(ReadIndexEntry(1001, entries, 0, &err));
    EXPECT_EQ(err, 1004U);
    EXPECT_FALSE(WriteIndexEntry(1001, entries, &err));
    EXPECT_EQ(err, 1002U);
    tagReportIndexEntry entry{};
    EXPECT_FALSE(reports::AppendScheduledEntry(&entry));
    // Nor is anything written to one that somebody reads.
    const common::FileDescriptor reader(open(kIndex, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    EXPECT_FALSE(WriteIndexEntry(1001, entries, &err));
    EXPECT_EQ(err, 1002U);
    char byte = 0;
    EXPECT_LE(read(reader.Get(), &byte, 1), 0);
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
    EXPECT_EQ(common::FieldText(entries[0].reportPath).size(), 1024U);
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

}  // namespace
