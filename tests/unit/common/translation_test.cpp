#include "common/translation.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "tests/support/english_catalogue.h"
#include "tests/support/scratch.h"

namespace fs = std::filesystem;
using namespace std::string_view_literals;

namespace {

// Every id that the report texts use, with its English text.
constexpr const char* kTexts[][2] = {
    {"schddmn_str_scansummery", "Scan Summary"},
    {"schddmn_str_totalfilescanned", "Total Files Scanned"},
    {"schddmn_str_totalvirusfound", "Total Virus Found"},
    {"schddmn_str_totalfilesdeleted", "Total Files Deleted"},
    {"schddmn_str_totalfilesskipped", "Total Files Skipped"},
    {"schddmn_str_totalioerror", "Total I/O Errors"},
    {"schddmn_str_starttime", "Start Time"},
    {"schddmn_str_stoptime", "Stop Time"},
    {"schddmn_str_totaltime", "Total Time"},
    {"schddmn_str_reportend", "Report End"},
    {"schddmn_msg_rptformscan", "Scan Report For - Scheduled Scan"},
    {"schddmn_str_on", "On"},
    {"schddmn_str_off", "Off"},
    {"schddmn_msg_scanpacked", "Scan Packed"},
    {"schddmn_str_scanarchive", "Scan Archive"},
    {"schddmn_str_scanadware", "Scan Adware/Spyware"},
    {"schddmn_str_dumpscan", "Dumb Scan"},
    {"schddmn_str_actiononvirus", "Action on Virus found"},
    {"schscan_msg_repaironly", "Repair only"},
    {"schscan_msg_repairdelete", "Repair, delete if unrepairable"},
    {"schscan_msg_delete", "Delete"},
    {"schscan_msg_reportonly", "Report only"},
    {"schscan_rpt_date_format_2", "Date: "},
    {"schddmn_msg_scannersetting", "Scanner Settings for this Scan were as follows"},
    {"schddmn_str_totalfilesrepaired", "Total Files Repaired"},
    {"schddmn_msg_scannersettig_scannersettingg", "Scanner Settings for this Scan were as follows"},
    {"cli_info_virusDb", "Virus Database: "},
};

class Translation : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::getenv("CORVANE_SANDBOX") == nullptr) {
            GTEST_SKIP() << "the catalogue has a fixed path; run inside tests/support/sandbox";
        }
        UseEnglishCatalogue();
    }
    void TearDown() override { UseNoCatalogue(); }
};

TEST_F(Translation, EveryIdOfTheReportsHasItsEnglishText) {
    for (const auto& [id, text] : kTexts) {
        EXPECT_STREQ(AvGetTranslation(id), text);
    }
    EXPECT_STREQ(AvGetTranslation("Scan Complete.\n\n"), "Scan Complete.\n\n");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "en_US.utf8");
}

TEST_F(Translation, AnUnknownIdIsItsOwnText) {
    EXPECT_STREQ(AvGetTranslation("schddmn_str_nobody"), "schddmn_str_nobody");
    EXPECT_EQ(AvGetTranslation(nullptr), nullptr);
}

TEST_F(Translation, AnyUsableLocaleOfTheEnvironmentLeadsToTheEnglishCatalogue) {
    setenv("LC_ALL", "C", 1);
    EXPECT_STREQ(AvGetTranslation("schddmn_str_on"), "On");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "en_US.utf8");
}

TEST_F(Translation, LanguagesThatThePersonPrefersLeadToTheEnglishCatalogueToo) {
    for (const char* languages : {"de:en", "en", "de_DE:de:en_GB:en", "en_US:en", "en_US", ""}) {
        setenv("LANGUAGE", languages, 1);
        // A process that has found a text keeps it, so a fresh one looks.
        EXPECT_EQ(InChild([] { return AvGetTranslation("schddmn_str_on") == "On"sv ? 0 : 1; }), 0)
            << languages;
    }
}

TEST_F(Translation, AnUnusableEnvironmentKeepsTheCLocaleAndTheKeys) {
    std::setlocale(LC_ALL, "C");
    setenv("LC_ALL", "xx_XX.nowhere", 1);
    EXPECT_STREQ(AvGetTranslation("schddmn_str_on"), "schddmn_str_on");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

TEST_F(Translation, AMissingCatalogueLeavesTheKeys) {
    // A process keeps a catalogue it has opened, so a fresh one looks.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    fs::remove_all(kCatalogues);
    EXPECT_EXIT(
        {
            const std::string text = AvGetTranslation("schddmn_str_on");
            std::exit(text == "schddmn_str_on" ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
