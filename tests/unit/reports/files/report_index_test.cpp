#include "reports/files/report_index.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "common/locks.h"
#include "common/text_field.h"
#include "tests/support/scratch.h"

namespace {

const std::string kEmptyIndex("ZQRF\0\0\0\0\0\0\0\0", 12);

tagScanIndexEntry Entry(const std::string& subject, const std::string& name) {
    tagScanIndexEntry entry{};
    common::CopyToField(entry.finished, "15 Nov, 2026, 02:37:00 PM");
    common::CopyToField(entry.subject, subject);
    common::CopyToField(entry.reportName, name);
    return entry;
}

std::string EntryBytes(const std::string& subject, const std::string& name) {
    std::string bytes(542, '\0');
    bytes.replace(0, 25, "15 Nov, 2026, 02:37:00 PM");
    bytes.replace(30, subject.size(), subject);
    bytes.replace(286, name.size(), name);
    return bytes;
}

class Index : public testing::Test {
protected:
    [[nodiscard]] bool Append(const std::string& subject, const std::string& name,
                              reports::IndexLock lock = reports::IndexLock::kWhileCounting) const {
        return reports::AppendReportIndexEntry(m_path.c_str(), Entry(subject, name), lock);
    }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "main.rpt";
};

TEST_F(Index, IsCreatedWithItsHeader) {
    const mode_t before = ::umask(077);
    const bool created = reports::CreateReportIndex(m_path.c_str());
    ::umask(before);
    ASSERT_TRUE(created);
    EXPECT_EQ(ReadFile(m_path), std::string("\x5A\x51\x52\x46\0\0\0\0\0\0\0\0", 12));
    EXPECT_EQ(ModeOf(m_path), 0666U);
}

TEST_F(Index, KeepsNobodyWaitingAtAFifo) {
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_TRUE(reports::CreateReportIndex(m_path.c_str())) << "there is something to open";
    EXPECT_FALSE(Append("/home", "0001.log"));
    std::vector<tagScanIndexEntry> entries;
    EXPECT_TRUE(reports::ReadReportIndex(m_path.c_str(), reports::IndexCount::kIgnored, entries));
    EXPECT_TRUE(entries.empty());
    EXPECT_FALSE(reports::RewriteReportIndex(m_path.c_str(), entries));
}

TEST_F(Index, IsLeftWhenItIsThere) {
    WriteFile(m_path, "whatever stands here");
    ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
    EXPECT_TRUE(reports::CreateReportIndex(m_path.c_str()));
    EXPECT_EQ(ReadFile(m_path), "whatever stands here");
    EXPECT_EQ(ModeOf(m_path), 0666U);
}

TEST_F(Index, CannotBeCreatedInAMissingFolder) {
    EXPECT_FALSE(reports::CreateReportIndex((m_scratch / "missing/main.rpt").c_str()));
    EXPECT_FALSE(reports::CreateReportIndex(nullptr));
}

TEST_F(Index, IsNotLeftHalfCreated) {
    EXPECT_EQ(InChild([this] {
                  const struct rlimit none { 4, 4 };
                  ::signal(SIGXFSZ, SIG_IGN);
                  if (::setrlimit(RLIMIT_FSIZE, &none) != 0) {
                      return 1;
                  }
                  return reports::CreateReportIndex(m_path.c_str()) ? 2 : 0;
              }),
              0);
    EXPECT_FALSE(Exists(m_path));
}

TEST_F(Index, GetsRecordsInOrder) {
    WriteFile(m_path, kEmptyIndex);
    ASSERT_TRUE(Append("/home", "scn0001.log"));
    ASSERT_TRUE(Append("/usr", "scn0002.log"));
    ASSERT_TRUE(Append("UP-TO-DATE", "updt0003.log", reports::IndexLock::kNone));
    EXPECT_EQ(ReadFile(m_path),
              std::string("ZQRF\0\0\0\0\x03\0\0\0", 12) + EntryBytes("/home", "scn0001.log") +
                  EntryBytes("/usr", "scn0002.log") + EntryBytes("UP-TO-DATE", "updt0003.log"));
    EXPECT_EQ(ModeOf(m_path), 0666U);
}

TEST_F(Index, AddsToTheCountAndAppendsWhateverItSays) {
    WriteFile(m_path, std::string("ZQRF\0\0\0\0\xFF\x01\0\0", 12) + "tail");
    ASSERT_TRUE(Append("/home", "scn0001.log"));
    EXPECT_EQ(ReadFile(m_path), std::string("ZQRF\0\0\0\0\0\x02\0\0", 12) + "tail" +
                                    EntryBytes("/home", "scn0001.log"));
}

TEST_F(Index, IsNotCreatedByARecord) {
    EXPECT_FALSE(Append("/home", "scn0001.log"));
    EXPECT_FALSE(Exists(m_path));
    EXPECT_FALSE(
        reports::AppendReportIndexEntry(nullptr, Entry("a", "b"), reports::IndexLock::kNone));
}

TEST_F(Index, StaysAsItWasWithoutRoom) {
    WriteFile(m_path, kEmptyIndex);
    ASSERT_TRUE(Append("/home", "scn0001.log"));
    const std::string before = ReadFile(m_path);
    EXPECT_EQ(InChild([this] {
                  const struct rlimit small { 600, 600 };
                  ::signal(SIGXFSZ, SIG_IGN);
                  if (::setrlimit(RLIMIT_FSIZE, &small) != 0) {
                      return 1;
                  }
                  return Append("/usr", "scn0002.log") ? 2 : 0;
              }),
              0);
    EXPECT_EQ(ReadFile(m_path), before);
}

TEST_F(Index, CountsEveryRecordOfConcurrentScans) {
    constexpr int kProcesses = 6;
    constexpr int kRecords = 60;
    ASSERT_TRUE(reports::CreateReportIndex(m_path.c_str()));
    std::vector<pid_t> children;
    children.reserve(kProcesses);
    for (int process = 0; process < kProcesses; ++process) {
        children.push_back(StartChild([this, process] {
            for (int record = 0; record < kRecords; ++record) {
                if (!Append("/home", std::to_string(process) + "-" + std::to_string(record))) {
                    return 1;
                }
            }
            return 0;
        }));
    }
    for (const pid_t child : children) {
        ASSERT_EQ(JoinChild(child), 0);
    }
    const std::string index = ReadFile(m_path);
    ASSERT_EQ(index.size(), 12U + 360U * 542U);
    EXPECT_EQ(index.substr(0, 12), std::string("ZQRF\0\0\0\0\x68\x01\0\0", 12));
    std::set<std::string> names;
    for (std::size_t at = 12; at < index.size(); at += 542) {
        EXPECT_EQ(index.substr(at, 36), EntryBytes("/home", "").substr(0, 36));
        names.insert(index.substr(at + 286, 256));
    }
    EXPECT_EQ(names.size(), 360U);
}

TEST_F(Index, WaitsForTheLockToCount) {
    WriteFile(m_path, kEmptyIndex);
    const common::FileDescriptor file(::open(m_path.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(LockFileHandle(file.Get()), 0);
    const pid_t other = StartChild([this] { return Append("/home", "scn0001.log") ? 0 : 1; });
    EXPECT_TRUE(WaitUntil([other] {
        return ReadFile("/proc/locks")
                   .find("-> POSIX  ADVISORY  WRITE " + std::to_string(other) + " ") !=
               std::string::npos;
    }));
    EXPECT_EQ(ReadFile(m_path), kEmptyIndex);
    ASSERT_EQ(UnlockFileHandle(file.Get()), 0);
    EXPECT_EQ(JoinChild(other), 0);
    EXPECT_EQ(ReadFile(m_path).size(), 12U + 542U);
}

TEST_F(Index, WithoutTheLockNobodyWaits) {
    WriteFile(m_path, kEmptyIndex);
    const common::FileDescriptor file(::open(m_path.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(LockFileHandle(file.Get()), 0);
    EXPECT_EQ(InChild([this] {
                  return Append("UP-TO-DATE", "updt0001.log", reports::IndexLock::kNone) ? 0 : 1;
              }),
              0);
    EXPECT_EQ(ReadFile(m_path).size(), 12U + 542U);
}

TEST_F(Index, IsRewrittenWhole) {
    WriteFile(m_path, "XXXXjunkjunk" + std::string(std::size_t{3} * 542, 'x'));
    ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
    const std::vector<tagScanIndexEntry> kept{Entry("/home", "scn0001.log"),
                                              Entry("/usr", "scn0002.log")};
    EXPECT_TRUE(reports::RewriteReportIndex(m_path.c_str(), kept));
    EXPECT_EQ(ReadFile(m_path), std::string("ZQRF\0\0\0\0\x02\0\0\0", 12) +
                                    EntryBytes("/home", "scn0001.log") +
                                    EntryBytes("/usr", "scn0002.log"));
    EXPECT_EQ(ModeOf(m_path), 0666U);
    EXPECT_TRUE(reports::RewriteReportIndex(m_path.c_str(), {}));
    EXPECT_EQ(ReadFile(m_path), kEmptyIndex);
}

TEST_F(Index, IsNotCreatedByRewritingOrReading) {
    EXPECT_FALSE(reports::RewriteReportIndex(m_path.c_str(), {}));
    EXPECT_FALSE(reports::RewriteReportIndex(nullptr, {}));
    std::vector<tagScanIndexEntry> entries{Entry("a", "b")};
    EXPECT_FALSE(reports::ReadReportIndex(m_path.c_str(), reports::IndexCount::kIgnored, entries));
    EXPECT_TRUE(entries.empty());
    EXPECT_FALSE(reports::ReadReportIndex(nullptr, reports::IndexCount::kIgnored, entries));
    EXPECT_FALSE(Exists(m_path));
}

TEST_F(Index, ACountOfNoneIsBelievedByWhoAsksForIt) {
    WriteFile(m_path, kEmptyIndex + EntryBytes("/home", "scn0001.log"));
    std::vector<tagScanIndexEntry> entries;
    EXPECT_TRUE(
        reports::ReadReportIndex(m_path.c_str(), reports::IndexCount::kNoneMeansEmpty, entries));
    EXPECT_TRUE(entries.empty());
    EXPECT_TRUE(reports::ReadReportIndex(m_path.c_str(), reports::IndexCount::kIgnored, entries));
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_STREQ(entries[0].reportName, "scn0001.log");
}

TEST_F(Index, MadeEndlessIsReadOnlySoFar) {
    WriteFile(m_path, std::string("ZQRF\0\0\0\0\x01\0\0\0", 12));
    ASSERT_EQ(::truncate(m_path.c_str(), off_t{542} * 200'000), 0);  // a hole, no room on the disk
    std::vector<tagScanIndexEntry> entries;
    EXPECT_TRUE(reports::ReadReportIndex(m_path.c_str(), reports::IndexCount::kIgnored, entries));
    EXPECT_EQ(entries.size(), 100'000U);
}

TEST(IndexNames, OfTheTwoIndexes) {
    EXPECT_STREQ(reports::kScanIndexName, "main.rpt");
    EXPECT_STREQ(reports::kUpdateIndexName, "updt.rpt");
}

}  // namespace
