#include "reports/files/scan_reports.h"

#include <cstring>
#include <ctime>
#include <filesystem>
#include <regex>
#include <thread>

#include "common/run_state.h"
#include "tests/support/english_catalogue.h"
#include "tests/unit/reports/files/scheduled_index_fixture.h"

// What a test makes of the clock: seconds that are added to it.
namespace {
std::time_t g_later = 0;
}
extern "C" std::time_t __real_time(std::time_t* out);
extern "C" std::time_t __wrap_time(std::time_t* out) {
    const std::time_t now = __real_time(nullptr) + g_later;
    if (out != nullptr) {
        *out = now;
    }
    return now;
}

namespace {

constexpr char kRule71[] =
    "-----------------------------------------------------------------------";
constexpr char kRule66[] = "------------------------------------------------------------------";

constexpr char kVersions[] =
    "Corvane Endpoint Protection Version 7.03\n"
    "Copyright (C) 2026 the Corvane developers.\n"
    "This program comes without any warranty.\n"
    "\n"
    "Virus Database: 09 February, 2025\n"
    "\n";

std::string Moment(const char* format, std::time_t when) {
    std::tm parts{};
    ::localtime_r(&when, &parts);
    char text[64];
    EXPECT_GT(std::strftime(text, sizeof text, format, &parts), 0U);
    return text;
}

std::string Settings(const char* packed, const char* archive, const char* adware,
                     const char* dumb) {
    return std::string("- Scan Packed: ") + packed + "\n- Scan Archive: " + archive +
           "\n- Scan Adware/Spyware: " + adware + "\n- Dumb Scan: " + dumb + "\n\n";
}

std::string Header(std::time_t start, const std::string& settings, const std::string& action) {
    return std::string(kRule71) + "\n\nScan Report For - Scheduled Scan\nDate: " +
           Moment("%d %B, %Y, Time : %H:%M:%S", start) + "\n" + kVersions + kRule66 +
           "\nScanner Settings for this Scan were as follows\n\n" + settings +
           "Action on Virus found\n" + action + "\n" + kRule66 + "\n";
}

std::string Summary(const std::string& counters, std::time_t start, std::time_t stop,
                    const std::string& total) {
    return std::string("Scan Complete.\n\n") + kRule66 + "\n\nScan Summary\n\n" + counters + "\n" +
           kRule66 + "\n\nStart Time : " + Moment("%T", start) +
           "\nStop Time  : " + Moment("%T", stop) + "\nTotal Time : " + total +
           "\n\n** Report End **\r\n";
}

class ScanReportsTest : public ScheduledIndex {
protected:
    void SetUp() override {
        ScheduledIndex::SetUp();
        if (IsSkipped()) {
            return;
        }
        UseEnglishCatalogue();
        ASSERT_TRUE(common::CopyToField(g_szAppPath, m_app.Path()));
        const tagZQVERINFO version{7, 3, {2025, 2, 0, 9, 1, 2, 3, 4}};
        std::string bytes(sizeof version, '\0');
        std::memcpy(bytes.data(), &version, sizeof version);
        WriteFile(m_app / "scanver.cnf", bytes + "more");
    }
    void TearDown() override {
        g_later = 0;
        g_scanCount = {};
        UseNoCatalogue();
    }

    static std::string PathOf(const ScanReports& report) {
        char path[1024];
        std::memset(path, 'x', sizeof path);
        EXPECT_EQ(report.GetReportFile(path), 1);
        return path;
    }
    static std::string TextOf(const ScanReports& report) { return ReadFile(PathOf(report)); }

    /// What `write` writes, expected to be what `expected` makes of the time; again when the second
    /// changed in between.
    template <typename Write, typename Expected>
    static void ExpectAt(Write write, Expected expected) {
        std::string before;
        std::string written;
        std::time_t now = 0;
        do {
            now = std::time(nullptr);
            before = expected(now);
            ScanReports report;
            EXPECT_EQ(write(report), 1);
            written = TextOf(report);
        } while (std::time(nullptr) != now);
        EXPECT_EQ(written, before);
    }
    static void ExpectHeader(tagSCNOPTS options, const std::string& settings,
                             const std::string& action) {
        ExpectAt([&](ScanReports& report) { return report.WriteHeader(&options); },
                 [&](std::time_t now) { return Header(now, settings, action); });
    }
    static void ExpectKtxHeader(unsigned char flags, short action, const std::string& settings,
                                const std::string& actionLine) {
        ExpectAt([&](ScanReports& report) { return report.KTX_WriteHeader(flags, action); },
                 [&](std::time_t now) { return Header(now, settings, actionLine); });
    }

    ScratchFolder m_app;
};

constexpr char kHeadingAgain[] = "Action on Virus found\n";

TEST_F(ScanReportsTest, MakesAReportThatIsPrivateWhileItIsWritten) {
    std::string path;
    {
        const ScanReports report;
        path = PathOf(report);
        EXPECT_TRUE(std::regex_match(
            path, std::regex("/usr/lib/Corvane/Corvane/reports/schd[0-9]{4}\\.rpt")))
            << path;
        EXPECT_EQ(ModeOf(path), 0600U);
        EXPECT_EQ(ReadFile(path), "");
    }
    EXPECT_EQ(ModeOf(path), 0644U);
}

TEST_F(ScanReportsTest, EverySettingHasItsBit) {
    ExpectHeader({0, 0}, Settings("Off", "Off", "Off", "Off"), "- Repair only\n");
    ExpectHeader({1, 8}, Settings("On", "Off", "Off", "Off"), "- Repair, delete if unrepairable\n");
    ExpectHeader({2, 1}, Settings("Off", "On", "Off", "Off"), "- Delete\n");
    ExpectHeader({3, 2}, Settings("Off", "Off", "On", "Off"), "- Report only\n");
    ExpectHeader({0, 0xF4}, Settings("Off", "Off", "Off", "On"), "- Repair only\n");
}

TEST_F(ScanReportsTest, TheOtherHeaderHasOtherBitsAndActions) {
    ExpectKtxHeader(1, 1, Settings("On", "Off", "Off", "Off"), "- Repair only\n");
    ExpectKtxHeader(2, 2, Settings("Off", "On", "Off", "Off"), "- Delete\n");
    ExpectKtxHeader(4, 3, Settings("Off", "Off", "On", "Off"), "- Report only\n");
    ExpectKtxHeader(0xF8, 4, Settings("Off", "Off", "Off", "On"),
                    "- Repair, delete if unrepairable\n");
}

TEST_F(ScanReportsTest, AnUnknownActionRepeatsTheHeading) {
    const std::string off = Settings("Off", "Off", "Off", "Off");
    ExpectHeader({4, 0}, off, kHeadingAgain);
    ExpectHeader({7, 0}, off, kHeadingAgain);
    ExpectHeader({65535, 0}, off, kHeadingAgain);
    ExpectKtxHeader(0, 0, off, kHeadingAgain);
    ExpectKtxHeader(0, 5, off, kHeadingAgain);
    ExpectKtxHeader(0, -1, off, kHeadingAgain);
}

// Without the catalogue every id shows, so also the one that only one of the headers has.
TEST_F(ScanReportsTest, WithoutACatalogueTheIdsAreWritten) {
    setenv("LC_ALL", "xx_XX.nowhere", 1);
    std::setlocale(LC_ALL, "C");
    tagSCNOPTS options{kActionDelete, 0};
    ScanReports first;
    first.WriteHeader(&options);
    const std::string text = TextOf(first);
    EXPECT_NE(text.find("\n\nschddmn_msg_rptformscan\nschscan_rpt_date_format_2"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("warranty.\n\ncli_info_virusDb09 February, 2025\n\n"), std::string::npos);
    EXPECT_NE(text.find("-\nschddmn_msg_scannersetting\n\n"
                        "- schddmn_msg_scanpacked: schddmn_str_off\n"
                        "- schddmn_str_scanarchive: schddmn_str_off\n"
                        "- schddmn_str_scanadware: schddmn_str_off\n"
                        "- schddmn_str_dumpscan: schddmn_str_off\n\n"
                        "schddmn_str_actiononvirus\n- schscan_msg_delete\n\n-"),
              std::string::npos)
        << text;
    ScanReports second;
    second.KTX_WriteHeader(0, kKtxReportOnly);
    const std::string other = TextOf(second);
    EXPECT_NE(other.find("\n\nschddmn_msg_rptformscan\nDate: "), std::string::npos) << other;
    EXPECT_NE(other.find("-\nschddmn_msg_scannersettig_scannersettingg\n\n"), std::string::npos);
    ScanReports third;
    third.WriteSummary();
    EXPECT_NE(TextOf(third).find("schddmn_str_scansummery\n\n"
                                 "schddmn_str_totalfilescanned   = 0\n"
                                 "schddmn_str_totalvirusfound     = 0\n"
                                 "schddmn_str_totalfilesrepaired  = 0\n"
                                 "schddmn_str_totalfilesdeleted   = 0\n"
                                 "schddmn_str_totalfilesskipped   = 0\n"
                                 "schddmn_str_totalioerror      = 0\n\n"),
              std::string::npos);
    EXPECT_NE(TextOf(third).find("\n\n** schddmn_str_reportend **\r\n"), std::string::npos);
}

TEST_F(ScanReportsTest, TheSummaryHasTheCountersAndTheTimes) {
    tagScanCount count{1, 2, 3, 4, 5, 4294967295};
    const std::time_t start = std::time(nullptr);
    ExpectAt([&](ScanReports& report) { return report.WriteSummary(&count); },
             [&](std::time_t now) {
                 // Without a header it began when counting of seconds began.
                 const auto hours = (now / 3600) % 60;
                 char total[32];
                 std::snprintf(total, sizeof total, "%02ld:%02ld:%02ld", static_cast<long>(hours),
                               static_cast<long>((now / 60) % 60), static_cast<long>(now % 60));
                 return Summary(
                     "Total Files Scanned   = 1\n"
                     "Total Virus Found     = 2\n"
                     "Total Files Repaired  = 3\n"
                     "Total Files Deleted   = 4\n"
                     "Total Files Skipped   = 5\n"
                     "Total I/O Errors      = 4294967295\n",
                     0, now, total);
             });
    EXPECT_LE(start, std::time(nullptr));
}

// The total of a scan that lasts so many seconds, whichever header it has.
std::string TotalAfter(std::time_t seconds, bool ktx) {
    ScanReports report;
    tagSCNOPTS options{};
    std::string total;
    std::time_t began = 0;
    do {
        g_later = 0;
        began = std::time(nullptr);
        ktx ? report.KTX_WriteHeader(0, 1) : report.WriteHeader(&options);
        g_later = seconds;
        report.WriteSummary();
    } while (std::time(nullptr) != began + seconds);
    char path[1024];
    report.GetReportFile(path);
    const std::string text = ReadFile(path);
    const auto at = text.rfind("Total Time : ");
    return text.substr(at + 13, text.find('\n', at) - at - 13);
}

TEST_F(ScanReportsTest, TheTotalTimeStartsAgainAtSixtyHours) {
    for (const bool ktx : {false, true}) {
        EXPECT_EQ(TotalAfter(0, ktx), "00:00:00");
        EXPECT_EQ(TotalAfter(3665, ktx), "01:01:05");
        EXPECT_EQ(TotalAfter(215999, ktx), "59:59:59");
        EXPECT_EQ(TotalAfter(219600, ktx), "01:00:00");
        EXPECT_EQ(TotalAfter(-10, ktx), "00:00:00") << "the clock was put back";
    }
}

TEST_F(ScanReportsTest, EachThreadCountsForItself) {
    g_scanCount = {9, 0, 0, 0, 0, 0};
    std::thread([] { g_scanCount = {7, 7, 7, 7, 7, 7}; }).join();
    ScanReports report;
    EXPECT_EQ(report.WriteSummary(), 1);
    EXPECT_NE(TextOf(report).find("Total Files Scanned   = 9\nTotal Virus Found     = 0\n"),
              std::string::npos);
}

TEST_F(ScanReportsTest, OnlyTheLastLineEndsAsOnOtherSystems) {
    ScanReports report;
    tagSCNOPTS options{};
    report.WriteHeader(&options);
    report.WriteToFile("\n\nScanning: /a\n[Skipped]");
    report.WriteSummary();
    const std::string text = TextOf(report);
    EXPECT_EQ(text.find('\r'), text.size() - 2);
    EXPECT_NE(text.find("\n\nScanning: /a\n[Skipped]Scan Complete.\n\n"), std::string::npos);
}

TEST_F(ScanReportsTest, TextsAreWrittenAsTheyAre) {
    ScanReports report;
    EXPECT_TRUE(report.WriteToFile("/a\xFF%s%n\n"));
    EXPECT_TRUE(report.WriteToFile(""));
    EXPECT_FALSE(report.WriteToFile(nullptr));
    const std::string large(5000, 'x');
    EXPECT_TRUE(report.WriteToFile(large.c_str()));
    EXPECT_EQ(TextOf(report), "/a\xFF%s%n\n" + large);
}

TEST_F(ScanReportsTest, WithoutItsFolderThereIsNoReport) {
    std::filesystem::remove_all(kReports);
    ScanReports report;
    EXPECT_EQ(PathOf(report), "");
    EXPECT_FALSE(report.WriteToFile("text"));
    tagSCNOPTS options{};
    EXPECT_EQ(report.WriteHeader(&options), 1);
    EXPECT_EQ(report.KTX_WriteHeader(0, 0), 1);
    EXPECT_EQ(report.WriteSummary(), 1);
    EXPECT_FALSE(std::filesystem::exists(kReports));
}

TEST_F(ScanReportsTest, WithoutAVersionItIsZero) {
    tagZQVERINFO version{9, 9, {9, 9, 9, 9, 9, 9, 9, 9}};
    WriteFile(m_app / "scanver.cnf", std::string(19, '\1'));
    EXPECT_FALSE(GetAPIVersion(&version));
    EXPECT_EQ(version.major, 0);
    EXPECT_EQ(version.databaseDate.year, 0);
    ScanReports report;
    tagSCNOPTS options{};
    EXPECT_EQ(report.WriteHeader(&options), 1);
    EXPECT_NE(TextOf(report).find("Corvane Endpoint Protection Version 0.00\n"), std::string::npos);
    std::filesystem::remove(m_app / "scanver.cnf");
    version.minor = 5;
    EXPECT_FALSE(GetAPIVersion(&version));
    EXPECT_EQ(version.minor, 0);
    EXPECT_FALSE(GetAPIVersion(nullptr));
}

TEST_F(ScanReportsTest, TheVersionIsThatOfTheProgramsOwnFolder) {
    tagZQVERINFO version{};
    EXPECT_TRUE(GetAPIVersion(&version));
    EXPECT_EQ(version.major, 7);
    EXPECT_EQ(version.minor, 3);
}

TEST_F(ScanReportsTest, NullArgumentsHarmNothing) {
    ScanReports report;
    EXPECT_EQ(report.GetReportFile(nullptr), 1);
    EXPECT_EQ(report.WriteHeader(nullptr), 1);
    EXPECT_EQ(TextOf(report), "");
    EXPECT_EQ(report.WriteSummary(nullptr), 1);
    EXPECT_NE(TextOf(report).find("Total Files Scanned   = 0\n"), std::string::npos);
    EXPECT_FALSE(report.MakeIndexEntry(nullptr));
}

TEST_F(ScanReportsTest, IsListedInTheIndex) {
    ScanReports report;
    tagReportIndexEntry entry = Entry(PathOf(report), 500);
    EXPECT_TRUE(report.MakeIndexEntry(&entry));
    EXPECT_EQ(Bytes().size(), kHeaderSize + kRecordSize);
    EXPECT_EQ(Listed(500), Names{std::filesystem::path(PathOf(report)).filename()});
}

}  // namespace
