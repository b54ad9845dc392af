#include "reports/dlg_report.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <QPushButton>

#include "reports/files/report_generator.h"
#include "reports/files/scheduled_index.h"
#include "tests/gui/reports/dlg_report_fixture.h"

// Which report the viewer shows, how it steps to others, and what it says of one it cannot show.

namespace fs = std::filesystem;

namespace {

TEST_F(DlgReportTest, HasItsTextsAcceleratorsAndTooltips) {
    OpenMiddle();
    EXPECT_EQ(m_dialog->windowTitle(), "Corvane Scan Report");
    EXPECT_TRUE(m_dialog->isModal());
    EXPECT_TRUE(View()->isReadOnly());
    const struct {
        const char* name;
        const char* text;
        const char* keys;
        const char* tip;
    } buttons[] = {
        {"btnPrev", "<< &Prev", "Alt+P", "Previous report (Alt+P)"},
        {"btnNext", "&Next >>", "Alt+N", "Next report (Alt+N)"},
        {"btnPrint", "P&rint", "Alt+R", "Print report (Alt+R)"},
        {"btnRptSavAs", "Save &As", "Alt+A", "Save As report (Alt+A)"},
        {"btnRptClose", "&Close", "Alt+C", "Close (Alt+C)"},
    };
    for (const auto& button : buttons) {
        EXPECT_EQ(Find(button.name)->text(), button.text);
        EXPECT_EQ(Find(button.name)->shortcut(), QKeySequence(button.keys));
        EXPECT_EQ(Find(button.name)->toolTip(), button.tip);
    }
}

TEST_F(DlgReportTest, StepsThroughTheIndexAndEnablesOnlyPossibleSteps) {
    OpenMiddle();
    EXPECT_EQ(Shown(), "report b");
    EXPECT_EQ(Steps(), "PN");
    Find("btnNext")->click();
    EXPECT_EQ(Shown(), "report c");
    EXPECT_EQ(Steps(), "P");
    EXPECT_EQ(g_szRptPath, m_folder / "reports/c.log");
    Find("btnPrev")->click();
    Find("btnPrev")->click();
    EXPECT_EQ(Shown(), "report a");
    EXPECT_EQ(Steps(), "N");
    m_dialog->OnPrevClick();
    EXPECT_EQ(Shown(), "report a") << "no step before the first";
}

TEST_F(DlgReportTest, AMissingReportIsSaidOnceAndPassedOver) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "gone.log"}, {"d", "s", "c.log"}});
    WriteReport("a.log", "report a");
    WriteReport("c.log", "report c");
    Open("a.log");
    BoxDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
    Find("btnNext")->click();
    EXPECT_EQ(Shown(), "report c");
    EXPECT_EQ(Steps(), "P");
}

TEST_F(DlgReportTest, UnreadableReportsUpToTheEndLeaveTheShownOne) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "x.log"}, {"d", "s", "y.log"}});
    WriteReport("a.log", "report a");
    Open("a.log");
    BoxDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
    driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
    Find("btnNext")->click();
    EXPECT_EQ(Shown(), "report a");
    EXPECT_EQ(Steps(), "P");
}

TEST_F(DlgReportTest, AReportThatIsNotListedIsShownWithoutSteps) {
    WriteIndex({{"d", "s", "a.log"}});
    WriteReport("b.log", "report b");
    Open("b.log");
    EXPECT_EQ(Shown(), "report b");
    EXPECT_EQ(Steps(), "");
    m_dialog->OnNextClick();
    m_dialog->OnPrevClick();
    EXPECT_EQ(Shown(), "report b");
}

TEST_F(DlgReportTest, TheStepsGoByTheRecordsWhateverTheirCountSays) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "b.log"}});
    WriteReport("a.log", "report a");
    std::string bytes = ReadFile(m_folder / "main.rpt");
    WriteFile(m_folder / "main.rpt", bytes.replace(8, 1, std::string(1, '\0')));
    Open("a.log");
    EXPECT_EQ(Steps(), "N");
}

TEST_F(DlgReportTest, WithoutAReportOfThisScanThatOfTheOneBeforeIsNotShown) {
    WriteIndex({{"d", "s", "a.log"}});
    WriteReport("a.log", "report a");
    reports::SetCurrentReport(kScanReports, "a.log");
    fs::rename(m_folder / "reports", m_folder / "gone");
    const ReportGen report(nullptr);
    fs::rename(m_folder / "gone", m_folder / "reports");
    BoxDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
    m_dialog = std::make_unique<dlgReport>();
    EXPECT_EQ(Shown(), "");
}

TEST_F(DlgReportTest, OfEqualNamesTheFirstInTheIndexIsTheCurrentOne) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "b.log"}, {"d", "s", "a.log"}});
    WriteReport("a.log", "report a");
    Open("a.log");
    EXPECT_EQ(Steps(), "N");
}

TEST_F(DlgReportTest, NamesAreComparedExactly) {
    WriteIndex({{"d", "s", "A.log"}, {"d", "s", "a.log2"}, {"d", "s", "c.log"}});
    WriteReport("a.log", "report a");
    Open("a.log");
    EXPECT_EQ(Shown(), "report a");
    EXPECT_EQ(Steps(), "");
}

TEST_F(DlgReportTest, AReportMadeEndlessIsNotTakenIntoMemory) {
    WriteIndex({{"d", "s", "a.log"}});
    WriteReport("a.log", "report a");
    fs::resize_file(m_folder / "reports/a.log", std::uintmax_t{1} << 40U);  // a hole
    BoxDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
    Open("a.log");
    EXPECT_EQ(Shown(), "");
}

TEST_F(DlgReportTest, AMissingIndexIsSaidAndTheReportShown) {
    WriteReport("b.log", "report b");
    BoxDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane", "Unable to open report file");
    Open("b.log");
    EXPECT_EQ(Shown(), "report b");
    EXPECT_EQ(Steps(), "");
}

TEST_F(DlgReportTest, AFifoOrAFolderInAReportsPlaceIsNotWaitedFor) {
    WriteIndex({});
    ASSERT_EQ(mkfifo((m_folder / "reports/f.log").c_str(), 0600), 0);
    fs::create_directory(m_folder / "reports/d.log");
    for (const char* name : {"f.log", "d.log"}) {
        BoxDriver driver;
        driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
        Open(name);
    }
}

TEST_F(DlgReportTest, ScheduledReportsStepByTheirFullPaths) {
    if (!InSandbox()) {
        GTEST_SKIP() << "the index has a fixed path; run inside tests/support/sandbox";
    }
    const std::string folder = "/usr/lib/Corvane/Corvane/reports/";
    fs::remove_all(folder);
    fs::create_directories(folder);
    for (const char* name : {"schd0001.rpt", "schd0002.rpt"}) {
        WriteFile(folder + name, name);
        tagReportIndexEntry entry{};
        common::CopyToField(entry.reportPath, folder + name);
        entry.userId = getuid();
        ASSERT_TRUE(reports::AppendScheduledEntry(&entry));
    }
    g_siRptKind = kScheduledReports;
    Open(folder + "schd0001.rpt");
    EXPECT_EQ(Shown(), "schd0001.rpt");
    EXPECT_EQ(Steps(), "N");
    Find("btnNext")->click();
    EXPECT_EQ(Shown(), "schd0002.rpt");
    EXPECT_EQ(g_szRptPath, folder + "schd0002.rpt");
    EXPECT_EQ(Steps(), "P");
}

TEST_F(DlgReportTest, CloseCloses) {
    OpenText("x");
    Find("btnRptClose")->click();
    EXPECT_FALSE(m_dialog->isVisible());
}

}  // namespace
