#include "common/run_state.h"

#include <gtest/gtest.h>

#include "common/locks.h"

namespace {

TEST(RunState, StartsWithNothingSet) {
    EXPECT_EQ(g_fdlock, -1);
    EXPECT_STREQ(g_szAppPath, "");
    EXPECT_STREQ(g_szLogFile, "");
    EXPECT_EQ(pfnGetVer, nullptr);
    EXPECT_STREQ(g_szRptName, "");
    EXPECT_STREQ(g_szRptPath, "");
    EXPECT_EQ(g_siRptKind, 0);
    EXPECT_FALSE(StopCount);
    EXPECT_EQ(g_scnopts.action, 1);
    EXPECT_EQ(g_scnopts.flags, 0x0B);
    EXPECT_EQ(g_hModScanAPI, nullptr);
    EXPECT_EQ(g_iCleanFileSeqCnt, 0);
    EXPECT_EQ(g_iCntLabViruses, 0);
    EXPECT_EQ(g_myScnopts.choice, 0);
    EXPECT_EQ(g_myScnopts.applyToAll, 0);
    EXPECT_EQ(g_scnActn, 1);
    EXPECT_EQ(g_zqFileInfo, nullptr);
}

TEST(RunState, ResetZeroesTheSixCountersOnly) {
    g_uiTotCnt = 1;
    g_uiInfCnt = 2;
    g_uiDeleCnt = 3;
    g_uiReprCnt = 4;
    g_uiSkipCnt = 5;
    g_uiIOErrCnt = 6;
    g_totalfilestoscan = 7;
    common::ResetRunCounters();
    EXPECT_EQ(g_uiTotCnt, 0U);
    EXPECT_EQ(g_uiInfCnt, 0U);
    EXPECT_EQ(g_uiDeleCnt, 0U);
    EXPECT_EQ(g_uiReprCnt, 0U);
    EXPECT_EQ(g_uiSkipCnt, 0U);
    EXPECT_EQ(g_uiIOErrCnt, 0U);
    EXPECT_EQ(g_totalfilestoscan, 7U);
    g_totalfilestoscan = 0;
}

TEST(RunState, ResetZeroesWhatTellsDetectionsApart) {
    g_iCleanFileSeqCnt = -1;
    g_iCntLabViruses = 10;
    g_uiInfCnt = 2;
    common::ResetDetectionCounters();
    EXPECT_EQ(g_iCleanFileSeqCnt, 0);
    EXPECT_EQ(g_iCntLabViruses, 0);
    EXPECT_EQ(g_uiInfCnt, 2U);
    g_uiInfCnt = 0;
}

TEST(RunState, ReportKinds) {
    EXPECT_EQ(kScanReports, 0);
    EXPECT_EQ(kUpdateReports, 1);
    EXPECT_EQ(kScheduledReports, 2);
}

}  // namespace
