#include <gtest/gtest.h>
#include <string>

#include "common/log.h"
#include "tests/support/scratch.h"
#include "tests/unit/common/full_disk_fixture.h"

namespace {

using LogOnAFullDisk = FullDisk;

TEST_F(LogOnAFullDisk, TheLogStaysSilent) {
    WriteFile(m_diskFolder + "/filler", std::string(200'000, 'x'));
    ASSERT_EQ(ReadFile(m_diskFolder + "/filler"), std::string(65'536, 'x'));
    WriteToLog((m_diskFolder + "/log").c_str(), "In nobody's way");
    EXPECT_EQ(ReadFile(m_diskFolder + "/log"), "");
}

}  // namespace
