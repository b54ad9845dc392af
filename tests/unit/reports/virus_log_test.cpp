#include "reports/virus_log.h"

#include <gtest/gtest.h>

#include "tests/unit/reports/report_fixture.h"

namespace {

using VirusLog = ReportTest;

TEST_F(VirusLog, TellsThatNothingIsKept) {
    EXPECT_EQ(kScannerUiComponent, 8000U);
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/home/file", "Virus", "Deleted"));
    EXPECT_FALSE(Exists(m_app / "VirMain.dat"));
}

}  // namespace
