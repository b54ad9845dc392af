#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/stat.h>

#include "common/given/file_copy.h"
#include "common/log.h"
#include "tests/support/scratch.h"

namespace {

class FullDisk : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "disks are only mounted in a private root";
        }
        WriteFile(m_source, std::string(200'000, 's'));
        ASSERT_EQ(::mkdir(m_diskFolder.c_str(), 0777), 0);
        m_disk.emplace(m_diskFolder, "64k");
        if (!m_disk->IsMounted()) {
            GTEST_SKIP() << "no right to mount a disk to fill";
        }
    }

    ScratchFolder m_scratch;
    std::string m_source = m_scratch / "source";
    std::string m_diskFolder = m_scratch / "disk";
    std::string m_copy = m_diskFolder + "/copy";

private:
    std::optional<TinyDisk> m_disk;
};

TEST_F(FullDisk, CopyFileLeavesNoDestination) {
    EXPECT_EQ(CopyFile(m_source.c_str(), m_copy.c_str()), 0);
    EXPECT_FALSE(Exists(m_copy));
}

TEST_F(FullDisk, CopyFileDeletesADestinationThatWasThere) {
    WriteFile(m_copy, "before");
    EXPECT_EQ(CopyFile(m_source.c_str(), m_copy.c_str()), 0);
    EXPECT_FALSE(Exists(m_copy));
    EXPECT_EQ(ReadFile(m_source).size(), 200'000U);
}

TEST_F(FullDisk, ZQCopyFileLeavesAPartialOne) {
    EXPECT_EQ(ZQCopyFile(m_source.c_str(), m_copy.c_str()), 0);
    EXPECT_EQ(ReadFile(m_copy), std::string(65'536, 's'));
    EXPECT_EQ(ModeOf(m_copy), 0600U);
}

TEST_F(FullDisk, TheLogStaysSilent) {
    ASSERT_EQ(ZQCopyFile(m_source.c_str(), m_copy.c_str()), 0);
    WriteToLog((m_diskFolder + "/log").c_str(), "In nobody's way");
    EXPECT_EQ(ReadFile(m_diskFolder + "/log"), "");
}

}  // namespace
