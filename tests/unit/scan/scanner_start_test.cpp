#include <gmock/gmock.h>
#include <string>

#include "tests/unit/scan/scanner_fixture.h"

// Starting and ending the engine.

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

TEST_F(ScannerTest, InitScanStartsTheEngineAndThenRegistersTheCallback) {
    ASSERT_EQ(Init(), 1);
    EXPECT_NE(g_hModScanAPI, nullptr);
    EXPECT_TRUE(IsLoaded(Library()));
    EXPECT_THAT(m_engine.Calls(),
                ElementsAre("ZqInitScan " + ExpectedOptions(m_directory, 1, 1, 0, 7) + " -> 1",
                            "ZqSetCallBack set -> 1"));
}

TEST_F(ScannerTest, InitScanWithoutSettingsDoesNothing) {
    EXPECT_EQ(Scanner::InitScan(nullptr), 0);
    ExpectNothingLoaded();
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(Scanner::InitScan(nullptr), 0);
    EXPECT_NE(g_hModScanAPI, nullptr) << "an engine that runs stays";
}

TEST_F(ScannerTest, EachMissingEntryPointFreesTheLibrary) {
    for (const char* symbol :
         {"ZqInitScan", "ZqDeinitScan", "ZqGetAPIVersion", "ZqSetCallBack", "ZqSetOptions",
          "ZqOpenFile", "ZqCloseFile", "ZqScanFileEx", "ZqResetFPTFlags"}) {
        Use(std::string("without_") + symbol);
        EXPECT_EQ(Init(), 0) << symbol;
        ExpectNothingLoaded();
        EXPECT_THAT(m_engine.Calls(), IsEmpty()) << symbol;
    }
}

TEST_F(ScannerTest, AnEngineThatDoesNotStartIsFreedWithoutBeingEnded) {
    Use("init_fails");
    EXPECT_EQ(Init(), 0);
    ExpectNothingLoaded();
    EXPECT_THAT(m_engine.Calls(), ElementsAre(StartsWith("ZqInitScan ")));
}

TEST_F(ScannerTest, AnEngineThatRefusesTheCallbackIsEndedAndFreed) {
    Use("set_callback_fails");
    EXPECT_EQ(Init(), 0);
    ExpectNothingLoaded();
    EXPECT_THAT(m_engine.Calls(),
                ElementsAre(StartsWith("ZqInitScan "), "ZqSetCallBack set -> 0", "ZqDeinitScan"));
}

TEST_F(ScannerTest, EveryNonzeroResultOfTheEngineIsSuccess) {
    m_engine.SetScript("init -1\nsetcallback 7\n");
    EXPECT_EQ(Init(), 1);
}

TEST_F(ScannerTest, ASecondInitScanEndsTheFirstEngine) {
    ASSERT_EQ(Init(), 1);
    ASSERT_EQ(Init(), 1);
    EXPECT_THAT(m_engine.Calls(),
                ElementsAre(StartsWith("ZqInitScan "), "ZqSetCallBack set -> 1", "ZqDeinitScan",
                            StartsWith("ZqInitScan "), "ZqSetCallBack set -> 1"));
    EXPECT_EQ(Scanner::DestroyScan(), 1);
    ExpectNothingLoaded();
}

TEST_F(ScannerTest, DestroyScanEndsAndUnloadsOnce) {
    EXPECT_EQ(Scanner::DestroyScan(), 0);
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(Scanner::DestroyScan(), 1);
    EXPECT_EQ(m_engine.Calls("ZqDeinitScan").size(), 1U);
    EXPECT_EQ(Scanner::DestroyScan(), 0);
    ExpectNothingLoaded();
}

TEST_F(ScannerTest, UnLoadScanApiIsTheSame) {
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(UnLoadScanAPI(), 1);
    EXPECT_EQ(m_engine.Calls("ZqDeinitScan").size(), 1U);
    ExpectNothingLoaded();
}

TEST_F(ScannerTest, TheVersionComesFromTheEngine) {
    m_engine.SetScript("version 3 7 2026 11 21\n");
    ASSERT_EQ(Init(), 1);
    ASSERT_TRUE(pfnGetVer != nullptr);
    tagZQVERINFO version{};
    pfnGetVer(&version);
    EXPECT_EQ(version.major, 3);
    EXPECT_EQ(version.minor, 7);
    EXPECT_EQ(version.databaseDate.year, 2026);
    EXPECT_EQ(version.databaseDate.month, 11);
    EXPECT_EQ(version.databaseDate.day, 21);
}

TEST_F(ScannerTest, ResetFptFlagsIsPassedOn) {
    EXPECT_EQ(Scanner::ResetFPTFlags(), 1);
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(Scanner::ResetFPTFlags(), 1);
    EXPECT_EQ(m_engine.Calls("ZqResetFPTFlags").size(), 1U);
}

}  // namespace
