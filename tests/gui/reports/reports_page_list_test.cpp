#include <filesystem>
#include <string>

#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>

#include "tests/gui/reports/reports_page_fixture.h"
#include "tests/support/modal_driver.h"

// How the list is moved in: where it starts, what its keys do, what is seen of a row.

namespace {

class ReportsList : public ReportsPageTest {
protected:
    // The page at `size` with `count` reports, the newest called "scn(count - 1).log".
    void Show(QSize size, int count) {
        std::vector<Listed> reports;
        reports.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            reports.push_back({"28 Mar, 2026, 10:00:00 PM",
                               "/home/someone/a folder with a long name/" + std::to_string(i),
                               "scn" + std::to_string(1000 + i) + ".log"});
        }
        WriteIndex(reports);
        m_page.resize(size);
        m_page.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_page));
        m_page.Fill();
        QCoreApplication::processEvents();
    }
    std::string Hint() {
        const auto* hint = Find<QLabel>("lblHint");
        return hint->isVisible() ? hint->text().toStdString() : "";
    }
    QTreeWidget* List() { return m_page.List(); }
};

TEST_F(ReportsList, TheNewestIsInViewAndCurrentButNotSelected) {
    Show({640, 400}, 100);
    EXPECT_EQ(List()->currentItem(), List()->topLevelItem(99));
    EXPECT_TRUE(
        List()->viewport()->rect().contains(List()->visualItemRect(List()->topLevelItem(99))));
    EXPECT_EQ(Selected(), "");
    List()->setFocus();
    EXPECT_EQ(Selected(), "") << "nor does the focus select it";
    m_page.DeleteSelected();
    EXPECT_EQ(Rows().size(), 100U) << "deleting asks no question, so it needs a selection";
}

TEST_F(ReportsList, ReturnShowsTheReportThatTheKeysHaveReached) {
    Show({640, 400}, 3);
    Names shown;
    QObject::connect(&m_page, &ReportsPage::RowDoubleClicked, [&](QTreeWidgetItem* row, int) {
        shown.push_back(row->text(2).toStdString());
    });
    QTest::keyClick(List(), Qt::Key_Return);
    QTest::keyClick(List(), Qt::Key_Up);
    QTest::keyClick(List(), Qt::Key_Enter);
    EXPECT_EQ(shown, (Names{"scn1002.log", "scn1001.log"}));
    EXPECT_EQ(Selected(), "scn1001.log");
}

TEST_F(ReportsList, WithoutASelectionTheButtonsSayWhatToDo) {
    Show({640, 400}, 2);
    QObject::connect(&m_page, &ReportsPage::ShowClicked, &m_page, &ReportsPage::ShowSelected);
    QObject::connect(&m_page, &ReportsPage::DeleteClicked, &m_page, &ReportsPage::DeleteSelected);
    for (const char* button : {"btnShwRpt", "btnDelRpt"}) {
        EXPECT_EQ(Hint(), "");
        Find<QPushButton>(button)->click();
        EXPECT_EQ(Hint(), "Select a report in the list first.");
        Select(0);
        EXPECT_EQ(Hint(), "") << "done";
        List()->clearSelection();
    }
    Find<QPushButton>("btnShwRpt")->click();
    m_page.Fill();
    EXPECT_EQ(Hint(), "") << "another list";
    EXPECT_EQ(Rows().size(), 2U);
    EXPECT_TRUE(Find<QLabel>("lblHint")->accessibleName().isEmpty()) << "its text is read out";
}

TEST_F(ReportsList, TheWholePathIsInTheTooltip) {
    WriteIndex({{"d", "/home/<b>some</b>\nfolder", "scn1.log"}});
    m_page.Fill();
    const QTreeWidgetItem* row = List()->topLevelItem(0);
    EXPECT_EQ(row->toolTip(1),
              "<p style=\"white-space:pre-wrap\">/home/&lt;b&gt;some&lt;/b&gt;\\nfolder</p>");
    EXPECT_EQ(row->toolTip(2), "<p style=\"white-space:pre-wrap\">scn1.log</p>");
    EXPECT_EQ(List()->toolTip(), "Select Entry to view the report");
}

TEST_F(ReportsList, ItsColumnsFillItAndShowDateAndNameWhole) {
    for (const int width : {420, 640, 1200}) {
        Show({width, 300}, 50);
        const QHeaderView* header = List()->header();
        EXPECT_EQ(header->length(), List()->viewport()->width()) << width;
        EXPECT_FALSE(List()->horizontalScrollBar()->isVisible());
        if (width >= 640) {
            EXPECT_GE(header->sectionSize(0),
                      List()->fontMetrics().horizontalAdvance("28 Mar, 2026, 10:00:00 PM"));
            EXPECT_GE(header->sectionSize(2), header->sectionSizeHint(2)) << "its heading";
        }
        EXPECT_GT(header->sectionSize(1), width / 8);
    }
}

}  // namespace
