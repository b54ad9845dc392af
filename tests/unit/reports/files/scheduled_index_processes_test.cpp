#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>
#include <vector>

#include "common/file_descriptor.h"
#include "common/locks.h"
#include "common/text_field.h"
#include "reports/files/scheduled_index.h"
#include "tests/unit/reports/files/scheduled_index_fixture.h"

// Several processes at the index at once.

namespace fs = std::filesystem;

namespace {

TEST_F(ScheduledIndex, RewritingWaitsForTheLock) {
    Append("a", 1);
    const common::FileDescriptor index(open(kIndex, O_RDWR | O_CLOEXEC));
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
                  return reports::AppendScheduledEntry(&entry) &&
                                 ReadIndexEntry(1001, entries, 0, &reason) && entries.size() == 2
                             ? 0
                             : 1;
              }),
              0);
    ASSERT_EQ(UnlockFileHandle(index.Get()), 0);
    EXPECT_EQ(JoinChild(other), 0);
    EXPECT_EQ(Bytes(), std::string(kHeaderSize, '\0'));
}

// Runs `work(process, round)` 1,000 times in each of four processes and waits for all of them.
template <typename Work>
void InFourProcesses(Work work) {
    std::vector<pid_t> children;
    children.reserve(4);
    for (int process = 0; process < 4; ++process) {
        children.push_back(StartChild([process, &work] {
            for (int round = 0; round < 1000; ++round) {
                work("/gone/" + std::to_string(process) + "-" + std::to_string(round), round);
            }
            return 0;
        }));
    }
    for (const pid_t child : children) {
        EXPECT_EQ(JoinChild(child), 0);
    }
}

// Every record lands whole at the end of the file. The count in the header is read and written back
// without a lock, so it may lag behind; nobody reads it.
TEST_F(ScheduledIndex, FourProcessesAppendingLoseNothing) {
    Append("first", 1);
    InFourProcesses([](const std::string& name, int) {
        tagReportIndexEntry entry = Entry(name, 1);
        reports::AppendScheduledEntry(&entry);
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
        reports::AppendScheduledEntry(&entry);
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
        const std::string name(common::FieldText(entry.reportPath));
        EXPECT_TRUE(name.rfind("/gone/", 0) == 0 || name.rfind(kReports, 0) == 0) << name;
        EXPECT_EQ(entry.userId, 1U);
    }
}

}  // namespace
