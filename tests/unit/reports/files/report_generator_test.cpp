#include "reports/files/report_generator.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <unistd.h>

#include "tests/unit/reports/files/report_fixture.h"

namespace {

constexpr char kRule71[] =
    "-----------------------------------------------------------------------";
constexpr char kRule66[] = "------------------------------------------------------------------";

void FakeVersion(tagZQVERINFO* version) {
    *version = {7, 3, {2025, 2, 0, 9, 1, 2, 3, 4}};
}

// A header from its date on, with the settings' lines and the action's line of the caller.
std::string Header(const std::string& settings, const std::string& action) {
    return std::string(kRule71) + "\n\nScan Report For - " + Today() +
           "\n\n"
           "Corvane Endpoint Protection Version 7.03\n"
           "Copyright (C) 2026 the Corvane developers.\n"
           "This program comes without any warranty.\n"
           "\n"
           "Virus Database: 09 February, 2025\n"
           "\n" +
           kRule66 + "\n\nScanner Settings for this Scan were as follows\n\n" + settings +
           "Action on Virus found\n" + action + "\n" + kRule66 + "\n\n";
}

class Generator : public ReportTest {
protected:
    void SetUp() override {
        ReportTest::SetUp();
        pfnGetVer = &FakeVersion;
    }
    void TearDown() override { pfnGetVer = nullptr; }

    // What a header says with these settings; again when midnight fell in between.
    static void ExpectHeader(const std::string& settings, const std::string& action) {
        std::string expected;
        std::string written;
        do {
            expected = Header(settings, action);
            ReportGen report(nullptr);
            EXPECT_EQ(report.WriteHeader(), 1);
            written = Report();
        } while (expected != Header(settings, action));
        EXPECT_EQ(written, expected);
    }
    static std::string Summary(bool interrupted) {
        ReportGen report(nullptr);
        EXPECT_EQ(report.WriteSummary(interrupted), 1);
        return Report();
    }
};

TEST_F(Generator, MakesAReportAndNamesIt) {
    {
        const ReportGen report(nullptr);
        EXPECT_TRUE(std::regex_match(g_szRptName, std::regex("scn[0-9]{4}\\.log")));
        EXPECT_EQ(std::string(g_szRptPath), m_app.Path() + "reports/" + g_szRptName);
        EXPECT_EQ(ModeOf(g_szRptPath), 0600U);
        EXPECT_EQ(Report(), "");
    }
    EXPECT_EQ(ModeOf(g_szRptPath), 0666U);
}

TEST_F(Generator, WritesTheHeader) {
    g_scnopts = {kActionRepairOrDelete, kScanArchives | kScanAdware | kScanPacked};
    ExpectHeader(
        "- Scan Packed: On\n"
        "- Scan Archive: On\n"
        "- Scan Adware/Spyware: On\n"
        "- Dumb Scan: Off\n\n",
        "- Repair, delete if unrepairable\n");
}

TEST_F(Generator, EverySettingHasItsBit) {
    const auto lines = [](const char* packed, const char* archive, const char* adware,
                          const char* dumb) {
        return std::string("- Scan Packed: ") + packed + "\n- Scan Archive: " + archive +
               "\n- Scan Adware/Spyware: " + adware + "\n- Dumb Scan: " + dumb + "\n\n";
    };
    g_scnopts = {kActionRepairOnly, 0};
    ExpectHeader(lines("Off", "Off", "Off", "Off"), "- Repair only\n");
    g_scnopts = {kActionDelete, 8};
    ExpectHeader(lines("On", "Off", "Off", "Off"), "- Delete\n");
    g_scnopts = {kActionReportOnly, 1};
    ExpectHeader(lines("Off", "On", "Off", "Off"), "- Report only\n");
    g_scnopts = {kActionPrompt, 2};
    ExpectHeader(lines("Off", "Off", "On", "Off"), "- Prompt\n");
    g_scnopts = {kActionPrompt, 0xF4};
    ExpectHeader(lines("Off", "Off", "Off", "On"), "- Prompt\n");
}

TEST_F(Generator, AnUnknownActionRepeatsTheHeading) {
    const std::string off =
        "- Scan Packed: Off\n- Scan Archive: Off\n- Scan Adware/Spyware: Off\n- Dumb Scan: Off\n\n";
    g_scnopts = {5, 0};
    ExpectHeader(off, "Action on Virus found\n");
    g_scnopts = {65535, 0};
    ExpectHeader(off, "Action on Virus found\n");
}

TEST_F(Generator, WritesAHeaderWithoutAnEngine) {
    pfnGetVer = nullptr;
    ReportGen report(nullptr);
    EXPECT_EQ(report.WriteHeader(), 1);
    EXPECT_NE(Report().find("Corvane Endpoint Protection Version 0.00\n"), std::string::npos);
}

TEST_F(Generator, SurvivesAnyDateOfTheEngine) {
    pfnGetVer = [](tagZQVERINFO* version) {
        *version = {65535, 65535, {65535, 65535, 65535, 65535, 65535, 65535, 65535, 65535}};
    };
    ReportGen report(nullptr);
    EXPECT_EQ(report.WriteHeader(), 1);
    EXPECT_NE(Report().find("Corvane Endpoint Protection Version 65535.65535\n"),
              std::string::npos);
}

TEST_F(Generator, AnEngineThatThrowsCostsTheVersionsOnly) {
    pfnGetVer = [](tagZQVERINFO* version) {
        version->major = 9;
        throw 7;
    };
    ReportGen report(nullptr);
    EXPECT_EQ(report.WriteHeader(), 1);
    EXPECT_NE(Report().find("Corvane Endpoint Protection Version 0.00\n"), std::string::npos);
    EXPECT_NE(Report().find("Scanner Settings for this Scan were as follows\n"), std::string::npos);
}

TEST_F(Generator, LogsTextsAsTheyAre) {
    {
        ReportGen report(nullptr);
        report.Log("\n\nScanning: /a\xFF<b>\nb%s%n");
        report.Log("\nInfected: X");
        report.Log("");
        report.Log(nullptr);
        // In the file at once: the viewer may be opened while the scan still runs.
        EXPECT_EQ(Report(), "\n\nScanning: /a\xFF<b>\nb%s%n\nInfected: X");
        report.Log("\n[Deleted]");
    }
    EXPECT_EQ(Report(), "\n\nScanning: /a\xFF<b>\nb%s%n\nInfected: X\n[Deleted]");
}

TEST_F(Generator, WritesTheSummary) {
    g_uiTotCnt = 4294967295U;
    g_uiInfCnt = 22;
    g_uiReprCnt = 3;
    g_uiDeleCnt = 4;
    g_uiSkipCnt = 5;
    g_uiIOErrCnt = 6;
    common::CopyToField(g_szStrTime, "Start Time : 10:20:30\r\n");
    common::CopyToField(g_szEndTime, "End Time :  11:22:33\r\n");
    g_dDiffTime = 3723.9;
    const std::string rest = std::string(kRule66) +
                             "\n\n"
                             "Scan Summary\n\n"
                             "Total Files Scanned   = 4294967295\n"
                             "Total Virus Found     = 22\n"
                             "Total Files Repaired  = 3\n"
                             "Total Files Deleted   = 4\n"
                             "Total Files Skipped   = 5\n"
                             "Total I/O Errors      = 6\n"
                             "\n"
                             "Start Time : 10:20:30\r\n"
                             "End Time :  11:22:33\r\n"
                             "Total Time: 01:02:03\r\n\r\n" +
                             kRule66 + "\n\n** Report End **\r\n";
    EXPECT_EQ(Summary(false), "Scan Complete.\n\n" + rest);
    EXPECT_EQ(Summary(true), "Scan Interrupted.\n\n" + rest);
}

TEST_F(Generator, TheHoursStartAgainAtSixty) {
    const auto totalTime = [](double seconds) {
        g_dDiffTime = seconds;
        const std::string summary = Summary(false);
        const std::size_t at = summary.find("Total Time: ");
        return summary.substr(at, summary.find("\r\n\r\n", at) - at);
    };
    EXPECT_EQ(totalTime(0), "Total Time: 00:00:00");
    EXPECT_EQ(totalTime(59.999), "Total Time: 00:00:59");
    EXPECT_EQ(totalTime(60), "Total Time: 00:01:00");
    EXPECT_EQ(totalTime(215'999), "Total Time: 59:59:59");
    EXPECT_EQ(totalTime(216'000), "Total Time: 00:00:00");
    EXPECT_EQ(totalTime(219'661), "Total Time: 01:01:01");
}

TEST_F(Generator, TwoScansNeverShareAReport) {
    // The generator of names is not seeded, so two programs try the same ones.
    std::srand(3);
    ReportGen first(nullptr);
    const std::string firstPath = g_szRptPath;
    std::srand(3);
    ReportGen second(nullptr);
    EXPECT_NE(std::string(g_szRptPath), firstPath);
    first.Log("first");
    second.Log("second");
    EXPECT_EQ(ReadFile(firstPath), "first");
    EXPECT_EQ(Report(), "second");
}

TEST_F(Generator, AReportThatCannotBeOpenedTakesEveryWrite) {
    std::filesystem::remove_all(m_app / "reports");
    common::CopyToField(g_szRptName, "before");
    common::CopyToField(g_szRptPath, "/before");
    {
        ReportGen report(nullptr);
        EXPECT_EQ(report.WriteHeader(), 1);
        report.Log("text");
        EXPECT_EQ(report.WriteSummary(false), 1);
    }
    EXPECT_STREQ(g_szRptName, "") << "not the report of the scan before";
    EXPECT_STREQ(g_szRptPath, "");
    EXPECT_FALSE(Exists(m_app / "reports"));
}

TEST_F(Generator, OpensNothingWithoutAFreeName) {
    for (int number = 0; number < 10'000; ++number) {
        const std::string digits = std::to_string(number);
        const std::string name = "scn" + std::string(4 - digits.size(), '0') + digits + ".log";
        ASSERT_EQ(::symlink("taken", (m_app / ("reports/" + name)).c_str()), 0);
    }
    ReportGen report(nullptr);
    report.Log("text");
    EXPECT_STREQ(g_szRptPath, "");
    EXPECT_FALSE(Exists(m_app / "reports/taken"));
}

TEST_F(Generator, OpensNothingUnderAPathThatDoesNotFit) {
    // 236 bytes of folder leave no room for "reports/scn0000.log" in 255.
    const std::string folder = m_app / std::string(237 - m_app.Path().size() - 1, 'd') + "/";
    ASSERT_EQ(folder.size(), 237U);
    std::filesystem::create_directories(folder + "reports");
    ASSERT_TRUE(common::CopyToField(g_szAppPath, folder));
    ReportGen report(nullptr);
    report.Log("text");
    EXPECT_STREQ(g_szRptPath, "");
    EXPECT_TRUE(std::filesystem::is_empty(folder + "reports"));

    const std::string fitting = m_app / std::string(236 - m_app.Path().size() - 1, 'd') + "/";
    std::filesystem::create_directories(fitting + "reports");
    ASSERT_TRUE(common::CopyToField(g_szAppPath, fitting));
    ReportGen fits(nullptr);
    EXPECT_EQ(std::string(g_szRptPath).size(), 255U);
    fits.Log("text");
    EXPECT_EQ(Report(), "text");
}

// One record as the index holds it, behind its 30 bytes of date.
std::string Fields(const std::string& path, const std::string& name) {
    return path + std::string(256 - path.size(), '\0') + name +
           std::string(256 - name.size(), '\0');
}

TEST_F(Generator, ListsItselfInTheScanIndex) {
    AddPath("/home/someone");
    AddPath("/second");
    ReportGen report(m_paths);
    ASSERT_TRUE(report.MakeIndexEntry());
    const std::string index = ReadFile(m_index);
    ASSERT_EQ(index.size(), 12U + 542U);
    EXPECT_EQ(index.substr(0, 12), std::string("ZQRF\0\0\0\0\x01\0\0\0", 12));
    const std::string date = index.substr(12, 30);
    EXPECT_TRUE(std::regex_match(
        date.substr(0, 25),
        std::regex("[0-3][0-9] (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec), 20[0-9]{2}, "
                   "[01][0-9]:[0-5][0-9]:[0-6][0-9] [AP]M")))
        << date;
    EXPECT_EQ(date.substr(25), std::string(5, '\0'));
    EXPECT_EQ(index.substr(42), Fields("/home/someone", g_szRptName));
    EXPECT_EQ(ModeOf(m_index), 0666U);
}

TEST_F(Generator, CopiesItsPaths) {
    AddPath("/home/someone");
    ReportGen report(m_paths);
    common::FreePathList(m_paths, m_tail);
    ASSERT_TRUE(report.MakeIndexEntry());
    EXPECT_EQ(ReadFile(m_index).substr(42), Fields("/home/someone", g_szRptName));
}

TEST_F(Generator, ListsAScanWithoutPaths) {
    ReportGen report(nullptr);
    ASSERT_TRUE(report.MakeIndexEntry());
    EXPECT_EQ(ReadFile(m_index).substr(42), Fields("", g_szRptName));
}

TEST_F(Generator, ListsTheLongestPathWhole) {
    const std::string path = "/" + std::string(254, 'p');
    AddPath(path.c_str());
    ReportGen report(m_paths);
    ASSERT_TRUE(report.MakeIndexEntry());
    EXPECT_EQ(ReadFile(m_index).substr(42), Fields(path, g_szRptName));
}

TEST_F(Generator, AMissingIndexIsNotMade) {
    ::unlink(m_index.c_str());
    AddPath("/home");
    ReportGen report(m_paths);
    report.Log("text");
    EXPECT_FALSE(report.MakeIndexEntry());
    EXPECT_FALSE(Exists(m_index));
    EXPECT_EQ(Report(), "text");
}

TEST_F(Generator, AScanWithoutAReportIsListedWithoutAName) {
    std::filesystem::remove_all(m_app / "reports");
    AddPath("/home/someone");
    ReportGen report(m_paths);
    EXPECT_TRUE(report.MakeIndexEntry());
    const std::string index = ReadFile(m_index);
    ASSERT_EQ(index.size(), 12U + 542U);
    EXPECT_EQ(index.substr(42), Fields("/home/someone", ""));
}

TEST_F(Generator, TheGlobalReportStartsEmpty) {
    EXPECT_EQ(g_pRptObj, nullptr);
}

}  // namespace
