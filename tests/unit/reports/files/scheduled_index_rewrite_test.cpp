#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "reports/files/scheduled_index.h"
#include "tests/support/protected_folders.h"
#include "tests/unit/reports/files/scheduled_index_fixture.h"

// The index written anew, whole or without the reports that somebody deletes.

namespace fs = std::filesystem;

namespace {

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

// The folder is everybody's, and who made the index is another one than who deletes from it.
TEST_F(ScheduledIndex, AnothersIndexIsWrittenWhereTheKernelProtectsIt) {
    const ProtectedFolders folders;
    Append("a", 1);
    Append("b", 2);
    EXPECT_EQ(Listed(0), (Names{"a", "b"}));
    unsigned int err = 77;
    EXPECT_TRUE(DeleteReportForFile(1001, (std::string(kReports) + "/a").c_str(), 0, &err));
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(Listed(0), Names{"b"});
    fs::remove(kIndex);
    std::vector<tagReportIndexEntry> entries;
    EXPECT_TRUE(WriteIndexEntry(1001, entries, &err));
    EXPECT_EQ(Bytes(), std::string(kHeaderSize, '\0'));
}

// Another name of a file that somebody could have laid there to be written over.
TEST_F(ScheduledIndex, AFileWithAnotherNameIsNotWritten) {
    Append("a", 1);
    const std::string victim = std::string(kReports) + "/victim";
    fs::create_hard_link(kIndex, victim);
    const std::string before = ReadFile(victim);
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 77;
    EXPECT_FALSE(WriteIndexEntry(1001, entries, &err));
    EXPECT_EQ(err, 1002U);
    tagReportIndexEntry entry = Entry("b", 1);
    EXPECT_FALSE(reports::AppendScheduledEntry(&entry));
    EXPECT_EQ(ReadFile(victim), before);
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

}  // namespace
