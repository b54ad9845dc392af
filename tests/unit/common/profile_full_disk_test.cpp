#include <cstdint>
#include <gtest/gtest.h>
#include <string>

#include "common/profile.h"
#include "tests/support/scratch.h"
#include "tests/unit/common/full_disk_fixture.h"

namespace {

class ProfileOnAFullDisk
    : public FullDisk,
      public testing::WithParamInterface<decltype(&WritePrivateProfileString)> {
protected:
    std::string m_path = m_diskFolder + "/section.ini";
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
