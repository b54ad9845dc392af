#include <gtest/gtest.h>
#include <string>

#include "common/given/file_copy.h"
#include "tests/support/scratch.h"
#include "tests/unit/common/full_disk_fixture.h"

namespace {

class CopyToAFullDisk : public FullDisk {
protected:
    void SetUp() override {
        FullDisk::SetUp();
        WriteFile(m_source, std::string(200'000, 's'));
    }

    std::string m_source = m_scratch / "source";
    std::string m_copy = m_diskFolder + "/copy";
};

TEST_F(CopyToAFullDisk, CopyFileLeavesNoDestination) {
    EXPECT_EQ(CopyFile(m_source.c_str(), m_copy.c_str()), 0);
    EXPECT_FALSE(Exists(m_copy));
}

TEST_F(CopyToAFullDisk, CopyFileDeletesADestinationThatWasThere) {
    WriteFile(m_copy, "before");
    EXPECT_EQ(CopyFile(m_source.c_str(), m_copy.c_str()), 0);
    EXPECT_FALSE(Exists(m_copy));
    EXPECT_EQ(ReadFile(m_source).size(), 200'000U);
}

TEST_F(CopyToAFullDisk, ZQCopyFileLeavesAPartialOne) {
    EXPECT_EQ(ZQCopyFile(m_source.c_str(), m_copy.c_str()), 0);
    EXPECT_EQ(ReadFile(m_copy), std::string(65'536, 's'));
    EXPECT_EQ(ModeOf(m_copy), 0600U);
}

}  // namespace
