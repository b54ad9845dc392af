#include <string>
#include <vector>

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "reports/find_bar.h"
#include "tests/gui/reports/dlg_report_fixture.h"

// The viewer's find bar: matches, the way round them, keys and focus.

namespace {

TEST_F(DlgReportTest, FindCountsMatchesInBothCasesAndGoesRoundThem) {
    OpenText("abc Abc\nxABCx");
    EXPECT_FALSE(Find<QLineEdit>("edtFind")->isVisible());
    Search("abc");
    EXPECT_EQ(Matches(), "1 of 3");
    Press(Qt::Key_F3);
    EXPECT_EQ(Matches(), "2 of 3");
    EXPECT_EQ(View()->textCursor().selectionStart(), 4);
    EXPECT_EQ(View()->textCursor().selectedText(), "Abc");
    Press(Qt::Key_F3);
    EXPECT_EQ(View()->textCursor().selectionStart(), 9);
    Press(Qt::Key_F3);
    EXPECT_EQ(Matches(), "1 of 3") << "round the end";
    Press(Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(Matches(), "3 of 3") << "and back";
    Press(Qt::Key_Return);
    EXPECT_EQ(Matches(), "1 of 3");
    EXPECT_TRUE(m_dialog->isVisible()) << "Return in the find bar presses no button";
}

TEST_F(DlgReportTest, FindSaysThatThereIsNoMatch) {
    OpenText("abc");
    Search("xyz");
    EXPECT_EQ(Matches(), "No match");
    EXPECT_FALSE(Find<QWidget>("btnFindNext")->isEnabled());
    Press(Qt::Key_F3);
    EXPECT_EQ(Matches(), "No match");
}

TEST_F(DlgReportTest, F3OpensAnEmptyFindBarAndEscapeClosesItAlone) {
    OpenText("abc");
    Press(Qt::Key_F3);
    EXPECT_TRUE(Find<QLineEdit>("edtFind")->isVisible());
    QTest::keyClick(Find<QLineEdit>("edtFind"), Qt::Key_Escape);
    EXPECT_FALSE(Find<QLineEdit>("edtFind")->isVisible());
    EXPECT_TRUE(m_dialog->isVisible());
}

TEST_F(DlgReportTest, TabGoesFromTheReportThroughTheFindBarToTheButtons) {
    OpenMiddle();
    Search("report");
    View()->setFocus();
    std::vector<std::string> order;
    for (int i = 0; i < 9; ++i) {
        Press(Qt::Key_Tab);
        order.push_back(m_dialog->focusWidget()->objectName().toStdString());
    }
    EXPECT_EQ(order, (std::vector<std::string>{"edtFind", "btnFindPrev", "btnFindNext",
                                               "btnFindClose", "btnPrev", "btnNext", "btnPrint",
                                               "btnRptSavAs", "btnRptClose"}));
}

// A megabyte that holds "needle" at its start and its end, and "NEEDLE" in its middle.
std::string Haystack() {
    const std::string hay(500'000, '\n');
    return "needle" + hay + "\xC3\xA9 NEEDLE" + hay + "needle";
}

TEST_F(DlgReportTest, FindReachesWhatIsNotLaidOut) {
    OpenText(Haystack());
    ASSERT_FALSE(View()->IsWhole());
    Press(Qt::Key_F, Qt::ControlModifier);
    Find<QLineEdit>("edtFind")->setText("needle");
    // Backwards at once, before anything is counted.
    Press(Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(Matches(), "Searching ...");
    ASSERT_TRUE(QTest::qWaitFor([&] { return Matches() == "3 of 3"; }, kLimit));
    EXPECT_EQ(View()->textCursor().selectedText(), "needle");
    EXPECT_EQ(View()->SelectionBegin(), Haystack().size() - 6);
    Press(Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(Matches(), "2 of 3");
    EXPECT_EQ(View()->textCursor().selectedText(), "NEEDLE");
    EXPECT_EQ(View()->SelectionBegin(), 500'009U);
    Press(Qt::Key_F3);
    Press(Qt::Key_F3);
    EXPECT_EQ(Matches(), "1 of 3");
    EXPECT_EQ(View()->SelectionBegin(), 0U);
}

TEST_F(DlgReportTest, ATurnOfTheWindowSearchesOnlyAPiece) {
    OpenText(Haystack());
    Press(Qt::Key_F, Qt::ControlModifier);
    Find<QLineEdit>("edtFind")->setText("needle");
    Press(Qt::Key_F3);
    const auto* bar = m_dialog->findChild<FindBar*>();
    std::size_t before = bar->Search().Searched();
    EXPECT_LE(before, ReportSearch::kMostAtOnce);
    int turns = 0;
    while (!bar->Search().IsWhole()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        EXPECT_LE(bar->Search().Searched() - before, ReportSearch::kMostAtOnce);
        before = bar->Search().Searched();
        ++turns;
    }
    EXPECT_GE(turns, 3);
    EXPECT_EQ(Matches(), "1 of 3");
}

TEST_F(DlgReportTest, AnotherReportEndsASearchThatIsUnderWay) {
    WriteIndex({{"d", "s", "big.log"}, {"d", "s", "small.log"}});
    WriteReport("big.log", Haystack());
    WriteReport("small.log", "a needle");
    Open("big.log");
    Press(Qt::Key_F, Qt::ControlModifier);
    Find<QLineEdit>("edtFind")->setText("needle");
    Press(Qt::Key_F3);
    ASSERT_EQ(Matches(), "Searching ...");
    Find("btnNext")->click();
    EXPECT_EQ(Matches(), "1 match");
    QTest::qWait(20);
    EXPECT_EQ(Matches(), "1 match");
    EXPECT_EQ(View()->SelectionBegin(), 0U);
}

TEST_F(DlgReportTest, FindIsRightBehindCarriageReturns) {
    OpenText("one\rtwo\r\r\nthree\r\nneedle");
    Search("needle");
    EXPECT_EQ(View()->textCursor().selectedText(), "needle");
}

TEST_F(DlgReportTest, SteppingCountsTheMatchesOfTheNewReport) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "b.log"}});
    WriteReport("a.log", "x x");
    WriteReport("b.log", "x x x");
    Open("a.log");
    Search("x");
    EXPECT_EQ(Matches(), "1 of 2");
    Find("btnNext")->click();
    EXPECT_EQ(Matches(), "3 matches");
}

}  // namespace
