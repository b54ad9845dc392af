// What is known of the newest scan from the index and from the end of its report.

#include "reports/files/last_scan.h"

#include <sys/stat.h>

#include "reports/files/report_index.h"
#include "reports/files/scan_report_text.h"
#include "tests/unit/reports/files/report_fixture.h"

namespace {

constexpr char kSummary[] =
    "Scan Summary\n\n"
    "Total Files Scanned   = 120\n"
    "Total Virus Found     = 3\n"
    "Total Files Repaired  = 0\n"
    "Total Files Deleted   = 1\n"
    "Total Files Skipped   = 2\n"
    "Total I/O Errors      = 4\n\n"
    "Start Time : 10:00:00\r\nEnd Time :  10:00:05\r\nTotal Time: 00:00:05\r\n\r\n"
    "------------------------------------------------------------------\n\n"
    "** Report End **\r\n";

class LastScan : public ReportTest {
protected:
    void List(const std::string& finished, const std::string& report) const {
        tagScanIndexEntry entry{};
        common::CopyToField(entry.finished, finished);
        common::CopyToField(entry.subject, "/home");
        common::CopyToField(entry.reportName, report);
        ASSERT_TRUE(
            reports::AppendReportIndexEntry(m_index.c_str(), entry, reports::IndexLock::kNone));
    }
    void Put(const std::string& report, const std::string& text) const {
        WriteFile(m_app / "reports/" + report, text);
    }
};

TEST_F(LastScan, NoneIsListed) {
    EXPECT_FALSE(reports::ReadLastScan());
    ::unlink(m_index.c_str());
    EXPECT_FALSE(reports::ReadLastScan());
}

TEST_F(LastScan, TheNewestOneCounts) {
    List("20 Nov, 2026, 10:00:00 AM", "scn0.log");
    List("21 Nov, 2026, 10:00:00 AM", "scn1.log");
    Put("scn0.log", "");
    Put("scn1.log", std::string("Scanning: /x\n\nScan Complete.\n\n") + kSummary);
    const auto last = reports::ReadLastScan();
    ASSERT_TRUE(last);
    EXPECT_EQ(last->finished, "21 Nov, 2026, 10:00:00 AM");
    ASSERT_TRUE(last->ending);
    EXPECT_FALSE(last->ending->isInterrupted);
    EXPECT_EQ(last->ending->infected, 3U);
    EXPECT_EQ(last->ending->unreadable, 4U);
}

TEST_F(LastScan, ALongReportIsReadFromItsEnd) {
    List("21 Nov, 2026, 10:00:00 AM", "scn1.log");
    // Its middle is a hole: whoever read it whole would notice.
    Put("scn1.log", "");
    ASSERT_EQ(::truncate((m_app / "reports/scn1.log").c_str(), off_t{1} << 40U), 0);
    std::ofstream(m_app / "reports/scn1.log", std::ios::app) << "\nScan Interrupted.\n\n"
                                                             << kSummary;
    const auto last = reports::ReadLastScan();
    ASSERT_TRUE(last && last->ending);
    EXPECT_TRUE(last->ending->isInterrupted);
    EXPECT_EQ(last->ending->infected, 3U);
}

TEST_F(LastScan, WithoutAWholeReportTheEndingIsNotKnown) {
    List("21 Nov, 2026, 10:00:00 AM", "scn1.log");
    ASSERT_TRUE(reports::ReadLastScan());
    EXPECT_FALSE(reports::ReadLastScan()->ending) << "the report is gone";
    Put("scn1.log", "");
    EXPECT_FALSE(reports::ReadLastScan()->ending);
    Put("scn1.log",
        std::string("Scan Complete.\n\n") + "Scan Summary\n\nTotal Files Scanned   = 1\n");
    EXPECT_FALSE(reports::ReadLastScan()->ending);
    ::unlink((m_app / "reports/scn1.log").c_str());
    ASSERT_EQ(::mkfifo((m_app / "reports/scn1.log").c_str(), 0666), 0);
    EXPECT_FALSE(reports::ReadLastScan()->ending) << "nobody waits on a FIFO";
}

TEST_F(LastScan, ANameThatLeadsElsewhereIsNotFollowed) {
    WriteFile(m_app / "elsewhere.log", std::string("Scan Complete.\n\n") + kSummary);
    List("21 Nov, 2026, 10:00:00 AM", "../elsewhere.log");
    ASSERT_TRUE(reports::ReadLastScan());
    EXPECT_FALSE(reports::ReadLastScan()->ending);
}

TEST_F(LastScan, WhatAFileIsCalledDecidesNothing) {
    const std::string named = "Scanning: /t/Scan Summary\n\nTotal Virus Found     = 0\n";
    const auto ending =
        reports::EndingOf(named + "Scan Interrupted.\n\nScan Complete.\n\n" + kSummary);
    ASSERT_TRUE(ending);
    EXPECT_EQ(ending->infected, 3U);
    EXPECT_FALSE(ending->isInterrupted);
}

TEST_F(LastScan, NumbersThatAreNoneAreNotBelieved) {
    for (const std::string number : {"", "x", "-1", "3x", "4294967296", " 3"}) {
        EXPECT_FALSE(reports::EndingOf("Scan Summary\n\nTotal Virus Found     = " + number +
                                       "\nTotal I/O Errors      = 0\n"))
            << number;
    }
    EXPECT_FALSE(reports::EndingOf("Scan Summary\n\nTotal Virus Found     = 3"));
    EXPECT_EQ(reports::EndingOf("Scan Summary\n\nTotal Virus Found     = 4294967295\n"
                                "Total I/O Errors      = 0\n")
                  ->infected,
              4294967295U);
}

class KeptText : public reports::ReportSink {
public:
    void Write(std::string_view text) override { m_text += text; }
    [[nodiscard]] const std::string& Text() const { return m_text; }

private:
    std::string m_text;
};

TEST_F(LastScan, TheWritersOwnSummaryIsUnderstood) {
    reports::ScanSummary summary{};
    summary.isInterrupted = true;
    summary.infected = 17;
    summary.unreadable = 5;
    KeptText report;
    reports::WriteScanSummary(summary, report);
    const auto ending = reports::EndingOf(report.Text());
    ASSERT_TRUE(ending);
    EXPECT_TRUE(ending->isInterrupted);
    EXPECT_EQ(ending->infected, 17U);
    EXPECT_EQ(ending->unreadable, 5U);
}

}  // namespace
