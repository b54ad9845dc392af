#include <string>
#include <vector>

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

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

TEST_F(DlgReportTest, FindReachesWhatIsNotFilledInYet) {
    OpenText(std::string(3'000'000, '\n') + "needle");
    Press(Qt::Key_F, Qt::ControlModifier);
    Find<QLineEdit>("edtFind")->setText("needle");
    Press(Qt::Key_F3);
    EXPECT_EQ(View()->textCursor().selectedText(), "needle");
    EXPECT_EQ(Matches(), "1 of 1");
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
