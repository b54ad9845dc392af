#include "tests/unit/scan/run/shell_scan.h"

#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <tuple>

// A whole scan with no window, no event loop and no Qt in the program.

namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

TEST_F(ShellScan, IsAProgramWithoutQt) {
    const std::string maps = ReadFile("/proc/self/maps");
    EXPECT_THAT(maps, HasSubstr("libstdc++"));
    EXPECT_EQ(maps.find("libQt"), std::string::npos);
}

TEST_F(ShellScan, TellsCountsAndReportsATree) {
    MakeFolder(m_top + "/d");
    WriteFile(m_top + "/d/eicar", "x");
    AddPath(m_top);
    g_scnopts.action = kActionDelete;
    ASSERT_TRUE(StartEngine("say 1001 1 1 V *eicar\nafter 1001 2002 3003\n"));
    Scan();
    const std::string file = m_top + "/d/eicar";
    // The counting thread tells its end whenever it gets there.
    EXPECT_EQ(std::erase(happened, "1114"), 1U);
    EXPECT_THAT(happened, ElementsAre("1108 " + m_top, "1113", "1100 " + file, "1102 " + file,
                                      "log " + file + ": File is Deleted", "1104 " + file,
                                      "1109 " + m_top, "1115", "1101 abc"));
    EXPECT_EQ(g_uiTotCnt, 1U);
    EXPECT_EQ(g_uiInfCnt, 1U);
    EXPECT_EQ(g_uiDeleCnt, 1U);
    EXPECT_EQ(g_totalfilestoscan, 1U);
    EXPECT_TRUE(m_run.Stop().IsSet());
    const std::string report = ReadFile(g_szRptPath);
    EXPECT_THAT(report, HasSubstr("Scanning: " + m_top + "\n\nScanning: " + file +
                                  "\nInfected: V\n[Deleted]\n-----"));
    EXPECT_THAT(report, HasSubstr("Scan Complete.\n\n"));
    EXPECT_THAT(report, EndsWith("** Report End **\r\n"));
    EXPECT_EQ(ReadFile(m_application / "main.rpt").size(), 12U + 542U);
}

TEST_F(ShellScan, TakesTheTimeBetweenStartAndEnd) {
    WriteFile(m_top + "/slow", "x");
    AddPath(m_top);
    g_dDiffTime = -1;
    // 1.1 seconds always pass a full second of the clock.
    ASSERT_TRUE(StartEngine("delay 1100 *\n"));
    Scan();
    EXPECT_GE(g_dDiffTime, 1);
    EXPECT_LT(g_dDiffTime, 60);
    EXPECT_THAT(std::string(g_szStrTime),
                MatchesRegex("Start Time : [0-9][0-9]:[0-9][0-9]:[0-9][0-9]\r\n"));
    EXPECT_THAT(std::string(g_szEndTime),
                MatchesRegex("End Time :  [0-9][0-9]:[0-9][0-9]:[0-9][0-9]\r\n"));
    EXPECT_THAT(ReadFile(g_szRptPath), HasSubstr(g_szStrTime + std::string(g_szEndTime)));
    EXPECT_EQ(ReadFile(g_szRptPath).find("Total Time: 00:00:00"), std::string::npos);
}

TEST_F(ShellScan, ThePromptIsAnsweredByWhoeverIsTold) {
    WriteFile(m_top + "/infected", "x");
    AddPath(m_top);
    g_scnopts.action = kActionPrompt;
    std::string askedAbout;
    m_onQuestion = [&](const scan::ScanStep& question) {
        EXPECT_EQ(question.type, kEvtPrompt);
        ASSERT_NE(g_zqFileInfo, nullptr);
        askedAbout = g_zqFileInfo->fileName;
        m_run.State().answer = {2, 0};
    };
    ASSERT_TRUE(StartEngine("say 1001 1 1 V *\nafter 1001 2002 3003\n"));
    Scan();
    EXPECT_EQ(askedAbout, m_top + "/infected");
    EXPECT_EQ(g_uiDeleCnt, 1U);
}

TEST_F(ShellScan, AStopIsConfirmedOrRefused) {
    for (const char* name : {"/a", "/b", "/c"}) {
        WriteFile(m_top + name, "x");
    }
    AddPath(m_top);
    int asked = 0;
    m_onStep = [this](const scan::ScanStep& step) {
        if (step.type == kEvtScanningFile) {
            m_run.Stop().Set();
        }
    };
    m_onQuestion = [&](const scan::ScanStep& question) {
        EXPECT_EQ(question.type, kEvtConfirmStop);
        EXPECT_EQ(question.text, m_top);
        if (++asked == 1) {
            m_run.Stop().Clear();
        }
    };
    ASSERT_TRUE(StartEngine(""));
    Scan();
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(g_uiTotCnt, 2U);
    EXPECT_TRUE(StopCount);
    EXPECT_THAT(ReadFile(g_szRptPath), HasSubstr("Scan Interrupted.\n\n"));
}

TEST_F(ShellScan, AbandonedItAsksNothingAndStops) {
    for (const char* name : {"/a", "/b", "/c"}) {
        WriteFile(m_top + name, "x");
    }
    AddPath(m_top);
    m_onStep = [this](const scan::ScanStep& step) {
        if (step.type == kEvtScanningFile) {
            m_run.Abandon();
        }
    };
    m_onQuestion = [](const scan::ScanStep& /*question*/) { ADD_FAILURE() << "nobody is there"; };
    ASSERT_TRUE(StartEngine(""));
    Scan();
    EXPECT_EQ(g_uiTotCnt, 1U);
    EXPECT_TRUE(StopCount);
    EXPECT_THAT(ReadFile(g_szRptPath), HasSubstr("Scan Interrupted.\n\n"));
}

TEST_F(ShellScan, WhatWasDoneIsInTheVirusLogBeforeItIsTold) {
    ASSERT_TRUE(StartEngine(""));
    for (const auto& [code, event, text] :
         {std::tuple{3001, "1105", "File is Repaired"}, std::tuple{3003, "1104", "File is Deleted"},
          std::tuple{3004, "1106", "File is skipped"}}) {
        happened.clear();
        EXPECT_EQ(m_run.Reply(EngineRecord(code)), 2005);
        EXPECT_THAT(happened, ElementsAre(std::string("log /t/infected: ") + text,
                                          std::string(event) + " /t/infected"));
    }
}

TEST_F(ShellScan, AnExceptionOnTheWayIsLoggedAndLeavesTheFileAlone) {
    g_scnopts.action = kActionDelete;
    m_onStep = [](const scan::ScanStep& /*step*/) { throw std::runtime_error("no room"); };
    EXPECT_EQ(m_run.Reply(EngineRecord(1001)), 2003);
    EXPECT_EQ(m_run.Reply(EngineRecord(1005)), 2005);
    m_onStep = [](const scan::ScanStep& /*step*/) { throw 7; };
    EXPECT_EQ(m_run.Reply(EngineRecord(1007)), 2003);
    EXPECT_EQ(LogText(),
              "In ScanRun::Reply(): no room\n"
              "In ScanRun::Reply(): no room\n"
              "In ScanRun::Reply(): an exception of no known type\n");
}

TEST_F(ShellScan, AnEngineThatThrowsEndsNoScan) {
    WriteFile(m_top + "/a", "x");
    WriteFile(m_top + "/b", "x");
    AddPath(m_top);
    ASSERT_TRUE(StartEngine("throw ZqGetAPIVersion\nthrow ZqScanFileEx\n"));
    Scan();
    EXPECT_EQ(g_uiTotCnt, 2U);
    EXPECT_THAT(m_engine.Calls("ZqCloseFile"), SizeIs(2));
    EXPECT_EQ(LogText(),
              "In EngineVersion(): ZqGetAPIVersion: told to throw\n"
              "In EngineLibrary::Scan(): ZqScanFileEx: told to throw\n"
              "In EngineLibrary::Scan(): ZqScanFileEx: told to throw\n");
    const std::string report = ReadFile(g_szRptPath);
    EXPECT_THAT(report, HasSubstr("Corvane Endpoint Protection Version 0.00\n"));
    EXPECT_THAT(report, HasSubstr("Scanner Settings for this Scan were as follows\n\n"
                                  "- Scan Packed: Off\n"));
    EXPECT_THAT(report, HasSubstr("Action on Virus found\n- Report only\n"));
    EXPECT_THAT(report, EndsWith("** Report End **\r\n"));
}

TEST_F(ShellScan, AnEngineThatThrowsAtItsStartIsFreed) {
    EXPECT_FALSE(StartEngine("throw ZqInitScan\n"));
    EXPECT_EQ(g_hModScanAPI, nullptr);
    EXPECT_FALSE(StartEngine("throw ZqSetCallBack\n"));
    EXPECT_EQ(g_hModScanAPI, nullptr);
    EXPECT_THAT(m_engine.Calls("ZqDeinitScan"), SizeIs(1));
    ASSERT_TRUE(StartEngine("throw ZqDeinitScan\n"));
    EXPECT_TRUE(m_library.Unload());
    EXPECT_EQ(g_hModScanAPI, nullptr);
    EXPECT_EQ(LogText(),
              "In EngineLibrary::Start(): ZqInitScan: told to throw\n"
              "In EngineLibrary::Start(): ZqSetCallBack: told to throw\n"
              "In EngineLibrary::Unload(): ZqDeinitScan: told to throw\n");
}

TEST_F(ShellScan, OtherCallsOfAnEngineThatThrowsHaveFailed) {
    ASSERT_TRUE(
        StartEngine("throw ZqOpenFile\nthrow ZqCloseFile\nthrow ZqSetOptions\n"
                    "throw ZqResetFPTFlags\n"));
    std::uint64_t handle = 0;
    EXPECT_FALSE(m_library.Open("/a", handle));
    EXPECT_FALSE(m_library.Close(handle));
    m_library.SetOptions(m_options);
    m_library.ForgetDetections();
    EXPECT_EQ(LogText(),
              "In EngineLibrary::Open(): ZqOpenFile: told to throw\n"
              "In EngineLibrary::Close(): ZqCloseFile: told to throw\n"
              "In EngineLibrary::SetOptions(): ZqSetOptions: told to throw\n"
              "In EngineLibrary::ForgetDetections(): ZqResetFPTFlags: told to throw\n");
}

TEST_F(ShellScan, WithoutPathsItEndsAtOnce) {
    Scan();
    EXPECT_THAT(happened, ElementsAre("1115", "1101 abc"));
    EXPECT_THAT(m_engine.Calls("ZqOpenFile"), IsEmpty());
}

}  // namespace
