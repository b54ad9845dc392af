// The words about the definitions and the last update.

#include "update/definitions_status.h"

#include <filesystem>
#include <gtest/gtest.h>

#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/support/report_files.h"

namespace {

const QDate kToday(2026, 11, 22);

std::string Words(const tagZQVERINFO& version) {
    const DefinitionsStatus::Line line = DefinitionsStatus::Definitions(version, kToday);
    return line.text.toStdString() + (line.isOutOfDate ? " !" : "");
}

tagZQVERINFO Of(std::uint16_t month, std::uint16_t day) {
    return {17, 5, {2026, month, 0, day, 9, 8, 7, 0}};
}

TEST(Definitions, AreToldWithVersionDateAndAge) {
    EXPECT_EQ(Words(Of(11, 22)), "Definitions: version 17.05, 22 November 2026, of today");
    EXPECT_EQ(Words(Of(11, 21)), "Definitions: version 17.05, 21 November 2026, 1 day old");
    EXPECT_EQ(Words(Of(11, 20)), "Definitions: version 17.05, 20 November 2026, 2 days old");
    EXPECT_EQ(Words(Of(11, 23)), "Definitions: version 17.05, 23 November 2026, of today")
        << "a clock may be wrong";
    EXPECT_EQ(Words({27821, 0, {2026, 11, 0, 22, 0, 0, 0, 0}}),
              "Definitions: version 27821.00, 22 November 2026, of today");
}

TEST(Definitions, OfMoreThanSevenDaysAreOutOfDate) {
    EXPECT_EQ(Words(Of(11, 15)), "Definitions: version 17.05, 15 November 2026, 7 days old");
    EXPECT_EQ(Words(Of(11, 14)),
              "Definitions: version 17.05, 14 November 2026, 8 days old. They are out of date. !");
}

TEST(Definitions, ThatNobodyKnowsAreNotMadeUp) {
    EXPECT_EQ(Words({}), "Definitions: not known");
    EXPECT_EQ(Words({17, 5, {}}), "Definitions: version 17.05, date not known");
    EXPECT_EQ(Words({17, 5, {2026, 2, 0, 30, 0, 0, 0, 0}}),
              "Definitions: version 17.05, date not known");
    EXPECT_EQ(Words({0, 5, {2026, 11, 0, 22, 0, 0, 0, 0}}),
              "Definitions: version 0.05, 22 November 2026, of today");
}

class LastUpdate : public ::testing::Test {
protected:
    void SetUp() override { common::CopyToField(g_szAppPath, m_scratch.Path()); }
    void TearDown() override { g_szAppPath[0] = '\0'; }
    void PutRun(std::time_t time, int result) const {
        std::filesystem::create_directories(m_scratch / "defs");
        WriteFile(m_scratch / "defs/last-update.json",
                  "{\"time\": " + std::to_string(time) + ", \"result\": " + std::to_string(result) +
                      ", \"text\": \"<b>in words</b>\"}\n");
    }
    [[nodiscard]] std::string Words(const std::vector<ListedReport>& reports) const {
        WriteFile(m_scratch / "updt.rpt", ReportIndexBytes(reports));
        return DefinitionsStatus::LastUpdate().toStdString();
    }

    ScratchFolder m_scratch;
};

TEST_F(LastUpdate, IsTheLastOneListed) {
    EXPECT_EQ(Words({{"20 Nov, 2026, 10:00:00 AM", "UPDATE ERROR", "updt1.log"},
                     {"21 Nov, 2026, 09:08:07 PM", "UPDATED SUCCESSFULLY", "updt2.log"}}),
              "Last update: 21 November 2026, 21:08, updated");
    EXPECT_EQ(Words({{"01 Mar, 2026, 12:00:00 AM", "UP-TO-DATE", "updt1.log"}}),
              "Last update: 1 March 2026, 00:00, nothing new");
    EXPECT_EQ(Words({{"01 Mar, 2026, 12:30:00 PM", "UPDATE ERROR", "updt1.log"}}),
              "Last update: 1 March 2026, 12:30, failed");
}

TEST_F(LastUpdate, WhatNobodyOfUsWroteIsShownAsItIs) {
    EXPECT_EQ(Words({{"yesterday\x1B", "<b>\xFF", "updt1.log"}}),
              "Last update: yesterday\\x1B, <b>\\xFF");
}

// The zone of the tests is UTC.
constexpr std::time_t kTwelve = 1795348800;  // 2026-11-22 12:00:00

TEST_F(LastUpdate, OfARunWithoutAReportIsToldWhereItIsTheLaterOne) {
    const std::vector<ListedReport> reports{
        {"22 Nov, 2026, 12:00:00 PM", "UPDATED SUCCESSFULLY", "updt1.log"}};
    const auto wordsOf = [&](std::time_t time, int result) {
        PutRun(time, result);
        return Words(reports);
    };
    EXPECT_EQ(wordsOf(kTwelve + 60, 3), "Last update: 22 November 2026, 12:01, stopped");
    EXPECT_EQ(wordsOf(kTwelve + 60, 4),
              "Last update: 22 November 2026, 12:01, no valid definition files");
    EXPECT_EQ(wordsOf(kTwelve + 60, 0), "Last update: 22 November 2026, 12:01, failed");
    EXPECT_EQ(wordsOf(kTwelve + 60, 1), "Last update: 22 November 2026, 12:01, updated");
    EXPECT_EQ(wordsOf(kTwelve + 60, 2), "Last update: 22 November 2026, 12:01, nothing new");
    EXPECT_EQ(wordsOf(kTwelve, 0), "Last update: 22 November 2026, 12:00, updated")
        << "the report is of this run";
    EXPECT_EQ(wordsOf(kTwelve - 60, 3), "Last update: 22 November 2026, 12:00, updated");
}

TEST_F(LastUpdate, OfARunIsToldWithoutReportsToo) {
    PutRun(kTwelve, 3);
    EXPECT_EQ(Words({}), "Last update: 22 November 2026, 12:00, stopped");
    EXPECT_EQ(Words({{"yesterday", "UPDATED SUCCESSFULLY", "updt1.log"}}),
              "Last update: 22 November 2026, 12:00, stopped");
    std::filesystem::remove(m_scratch / "updt.rpt");
    EXPECT_EQ(DefinitionsStatus::LastUpdate(), "Last update: 22 November 2026, 12:00, stopped");
}

TEST_F(LastUpdate, ARecordOfARunThatIsDamagedIsAsIfItWereNotThere) {
    PutRun(kTwelve, 3);
    WriteFile(m_scratch / "defs/last-update.json", "<b>");
    EXPECT_EQ(Words({}), "Last update: none yet");
}

TEST_F(LastUpdate, NoneAndUnknown) {
    EXPECT_EQ(Words({}), "Last update: none yet");
    std::filesystem::remove(m_scratch / "updt.rpt");
    EXPECT_EQ(DefinitionsStatus::LastUpdate(), "Last update: not known");
}

}  // namespace
