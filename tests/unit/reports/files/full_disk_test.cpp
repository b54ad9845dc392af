#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "reports/files/report_generator.h"
#include "reports/files/report_index.h"
#include "tests/unit/reports/files/report_fixture.h"

namespace {

// The application directory lies on a disk of 64 KiB.
class FullDisk : public ReportTest {
protected:
    void SetUp() override {
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "disks are only mounted in a private root";
        }
        ASSERT_EQ(::mkdir((m_app / "disk").c_str(), 0777), 0);
        m_disk.emplace(m_app / "disk", "64k");
        if (!m_disk->IsMounted()) {
            GTEST_SKIP() << "no right to mount a disk to fill";
        }
        ReportTest::SetUp();
        ASSERT_TRUE(common::CopyToField(g_szAppPath, m_app / "disk/"));
        ASSERT_EQ(::mkdir((m_app / "disk/reports").c_str(), 0777), 0);
    }
    void Fill() {
        const common::FileDescriptor filler(
            ::open((m_app / "disk/filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        ASSERT_FALSE(common::WriteAll(filler.Get(), std::string(100'000, 'f')));
        ASSERT_EQ(errno, ENOSPC);
    }

    std::string m_index = m_app / "disk/main.rpt";

private:
    std::optional<TinyDisk> m_disk;
};

TEST_F(FullDisk, AScanGoesOnWithoutItsReport) {
    ReportGen report(nullptr);
    report.Log("before");
    const std::string path = g_szRptPath;
    Fill();
    report.Log(std::string(10'000, 'x').c_str());
    EXPECT_EQ(report.WriteHeader(), 1);
    EXPECT_EQ(report.WriteSummary(false), 1);
    // What its one page of disk holds, and nothing out of place.
    EXPECT_EQ(ReadFile(path), "before" + std::string(4090, 'x'));
}

TEST_F(FullDisk, TheIndexStaysAsItWas) {
    ASSERT_TRUE(reports::CreateReportIndex(m_index.c_str()));
    AddPath("/home");
    ReportGen report(m_paths);
    // Seven records fill the index's first page but for a rest too short for another.
    for (int record = 0; record < 7; ++record) {
        ASSERT_TRUE(report.MakeIndexEntry());
    }
    Fill();
    const std::string before = ReadFile(m_index);
    ASSERT_EQ(before.size(), 12U + 7U * 542U);
    EXPECT_FALSE(report.MakeIndexEntry());
    EXPECT_EQ(ReadFile(m_index), before);
}

TEST_F(FullDisk, AnIndexIsNotLeftHalfCreated) {
    Fill();
    EXPECT_FALSE(reports::CreateReportIndex(m_index.c_str()));
    EXPECT_FALSE(Exists(m_index));
}

}  // namespace
