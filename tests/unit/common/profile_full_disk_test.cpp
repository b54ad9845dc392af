#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/stat.h>

#include "common/profile.h"
#include "tests/support/scratch.h"

namespace {

class ProfileOnAFullDisk : public testing::TestWithParam<decltype(&WritePrivateProfileString)> {
protected:
    void SetUp() override {
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "disks are only mounted in a private root";
        }
        ASSERT_EQ(::mkdir(m_diskFolder.c_str(), 0777), 0);
        m_disk.emplace(m_diskFolder, "64k");
        if (!m_disk->IsMounted()) {
            GTEST_SKIP() << "no right to mount a disk to fill";
        }
    }

    ScratchFolder m_scratch;
    std::string m_diskFolder = m_scratch / "disk";
    std::string m_path = m_diskFolder + "/section.ini";

private:
    std::optional<TinyDisk> m_disk;
};

TEST_P(ProfileOnAFullDisk, TheOldFileStaysWholeAndNoTemporaryFileIsLeft) {
    // More than half of the disk: the second file begins and does not fit.
    const std::string before = " [S] \nKey=old\n" + std::string(40'000, 'x');
    WriteFile(m_path, before);
    std::uint32_t code = 77;
    EXPECT_EQ(GetParam()("S", "Key", "new", m_path.c_str(), &code), -1);
    EXPECT_EQ(code, 102U);
    EXPECT_EQ(ReadFile(m_path), before);
    EXPECT_FALSE(Exists(m_path + ".tmp"));
}

TEST_P(ProfileOnAFullDisk, AFileShorterThanAnyBufferFailsToo) {
    WriteFile(m_path, " [S] \nKey=old\n");
    // What is left of the disk, but for nothing.
    WriteFile(m_diskFolder + "/filler", std::string(200'000, 'x'));
    std::uint32_t code = 77;
    EXPECT_EQ(GetParam()("S", "Key", "new", m_path.c_str(), &code), -1);
    EXPECT_EQ(code, 102U);
    EXPECT_EQ(ReadFile(m_path), " [S] \nKey=old\n");
    EXPECT_FALSE(Exists(m_path + ".tmp"));
}

INSTANTIATE_TEST_SUITE_P(Both, ProfileOnAFullDisk,
                         testing::Values(&WritePrivateProfileString, &WritePrivateProfileStringEx));

}  // namespace
