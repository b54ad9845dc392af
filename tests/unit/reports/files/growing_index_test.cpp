#include <cstddef>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "common/text_field.h"
#include "reports/files/report_index.h"
#include "tests/support/scratch.h"
#include "tests/unit/reports/files/scheduled_index_fixture.h"

// An index that others append to while it is read. The kernel lets a file grow page by page, so a
// reader can meet the beginning of a record at its end.

namespace {

// What others do when a reader has come to the end of a file, once.
std::function<void()> atTheEnd;

}  // namespace

extern "C" {

// The names are the linker's (--wrap).
// NOLINTBEGIN(bugprone-reserved-identifier)
ssize_t __real_read(int fd, void* buffer, std::size_t size);
ssize_t __wrap_read(int fd, void* buffer, std::size_t size);

ssize_t __wrap_read(int fd, void* buffer, std::size_t size) {
    const ssize_t got = __real_read(fd, buffer, size);
    if (got == 0 && atTheEnd) {
        std::exchange(atTheEnd, nullptr)();
    }
    return got;
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"

namespace {

class GrowingScheduledIndex : public ScheduledIndex {
protected:
    void SetUp() override {
        ScheduledIndex::SetUp();
        if (IsSkipped()) {
            return;
        }
        for (const char* name : {"a", "b", "c", "d"}) {
            Append(name, 7);
        }
        m_whole = Bytes();
    }
    void TearDown() override { atTheEnd = nullptr; }

    // The index ends after `size` bytes until it has been read so far, and is whole from then on.
    void GrowsBehind(std::size_t size) {
        SetBytes(m_whole.substr(0, size));
        atTheEnd = [this] { SetBytes(m_whole); };
    }

    std::string m_whole;
};

TEST_F(GrowingScheduledIndex, ARecordThatIsJustBeingWrittenIsPassedOver) {
    for (const std::size_t bytes : {1U, 700U, 1315U}) {
        GrowsBehind(kHeaderSize + 2 * kRecordSize + bytes);
        EXPECT_EQ(Listed(7), (Names{"a", "b", "d"})) << bytes;
        EXPECT_FALSE(atTheEnd) << "nobody came to the end";
        EXPECT_EQ(Listed(7), (Names{"a", "b", "c", "d"})) << bytes;
    }
}

TEST_F(GrowingScheduledIndex, TheLastRecordIsPassedOverAlike) {
    GrowsBehind(kHeaderSize + 3 * kRecordSize + 100);
    EXPECT_EQ(Listed(0), (Names{"a", "b", "c"}));
    EXPECT_FALSE(atTheEnd) << "nobody came to the end";
}

TEST(GrowingScanIndex, TheRecordsBehindOneThatIsJustBeingWrittenAreRead) {
    const ScratchFolder scratch;
    const std::string path = scratch / "main.rpt";
    ASSERT_TRUE(reports::CreateReportIndex(path.c_str()));
    for (const char* name : {"a.log", "b.log", "c.log"}) {
        tagScanIndexEntry entry{};
        common::CopyToField(entry.reportName, name);
        ASSERT_TRUE(
            reports::AppendReportIndexEntry(path.c_str(), entry, reports::IndexLock::kNone));
    }
    const std::string whole = ReadFile(path);
    ASSERT_EQ(whole.size(), 12U + 3 * 542U);
    // So much of the second record that its name is not there yet.
    WriteFile(path, whole.substr(0, 12 + 542 + 200));
    atTheEnd = [&] { WriteFile(path, whole); };
    std::vector<tagScanIndexEntry> entries;
    ASSERT_TRUE(reports::ReadReportIndex(path.c_str(), reports::IndexCount::kIgnored, entries));
    EXPECT_FALSE(atTheEnd) << "nobody came to the end";
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(common::FieldText(entries[0].reportName), "a.log");
    EXPECT_EQ(common::FieldText(entries[1].reportName), "");
    EXPECT_EQ(common::FieldText(entries[2].reportName), "c.log");
}

}  // namespace
