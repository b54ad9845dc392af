#include "reports/reports_page.h"

#include <filesystem>
#include <string>

#include <QComboBox>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include "reports/dlg_report.h"
#include "tests/gui/reports/reports_page_fixture.h"
#include "tests/support/modal_driver.h"

// What the page lists of an index, sound or not, and how it shows a report.

namespace fs = std::filesystem;

namespace {

TEST_F(ReportsPageTest, HasItsTextsAcceleratorsAndTooltips) {
    EXPECT_EQ(Find<QLabel>("lblReportsFor")->text(), "Reports for");
    const auto* combo = Find<QComboBox>("cmbReports");
    ASSERT_EQ(combo->count(), 3);
    EXPECT_EQ(combo->itemText(0), "Scanner");
    EXPECT_EQ(combo->itemText(1), "Update");
    EXPECT_EQ(combo->itemText(2), "Schedule Scan");
    const QTreeWidgetItem* header = m_page.List()->headerItem();
    ASSERT_EQ(header->columnCount(), 3);
    EXPECT_EQ(header->text(0), "Date/Time");
    EXPECT_EQ(header->text(1), "Scanned Objects");
    EXPECT_EQ(header->text(2), "Report Summary");
    EXPECT_EQ(m_page.List()->toolTip(), "Select Entry to view the report");
    const auto* remove = Find<QPushButton>("btnDelRpt");
    EXPECT_EQ(remove->text(), "&Delete Report");
    EXPECT_EQ(remove->shortcut(), QKeySequence("Alt+D"));
    EXPECT_EQ(remove->toolTip(), "Delete selected report (Alt+D)");
    const auto* show = Find<QPushButton>("btnShwRpt");
    EXPECT_EQ(show->text(), "Show Re&port");
    EXPECT_EQ(show->shortcut(), QKeySequence("Alt+P"));
    EXPECT_EQ(show->toolTip(), "Show selected report (Alt+P)");
}

TEST_F(ReportsPageTest, ListsTheRecordsInFileOrder) {
    WriteIndex({{"02 Jan, 2026, 10:00:00 AM", "/home", "scn0002.log"},
                {"01 Jan, 2026, 09:00:00 AM", "/usr", "scn0001.log"}});
    m_page.Fill();
    EXPECT_EQ(Rows(0), (Names{"02 Jan, 2026, 10:00:00 AM", "01 Jan, 2026, 09:00:00 AM"}));
    EXPECT_EQ(Rows(1), (Names{"/home", "/usr"}));
    EXPECT_EQ(Rows(2), (Names{"scn0002.log", "scn0001.log"}));
    EXPECT_FALSE(m_page.List()->isSortingEnabled());
    EXPECT_TRUE(ButtonsEnabled());
    EXPECT_EQ(EmptyText(), "");
    EXPECT_EQ(fs::status(m_folder / "main.rpt").permissions(), fs::perms(0666));
}

TEST_F(ReportsPageTest, ACountOfZeroListsNothingAndDisablesBothButtons) {
    WriteIndex({{"d", "s", "a.log"}});
    m_page.Fill();
    ASSERT_TRUE(ButtonsEnabled());
    std::string bytes = Index({{"d", "s", "a.log"}});
    bytes[8] = 0;
    WriteFile(m_folder / "main.rpt", bytes);
    m_page.Fill();
    EXPECT_EQ(Rows(), Names{});
    EXPECT_FALSE(ButtonsEnabled());
    EXPECT_EQ(EmptyText(),
              "No scan reports yet.\nScan a file or a folder: its report will be here.");
}

TEST_F(ReportsPageTest, AMissingIndexIsSaidAndLeavesTheListEmpty) {
    for (const char* kind : {"Scanner", "Update"}) {
        ModalDriver driver;
        driver.ExpectMessage(
            QMessageBox::Critical, "Corvane",
            "Unable to open Report File. \n Close all the application and try again");
        Find<QComboBox>("cmbReports")->setCurrentText(kind);
        m_page.TakeKind();
        EXPECT_EQ(Rows(), Names{});
        EXPECT_EQ(EmptyText(), "The list of these reports cannot be read.");
        EXPECT_FALSE(ButtonsEnabled());
    }
    WriteIndex({}, "updt.rpt");
    m_page.Fill();
    EXPECT_EQ(EmptyText(),
              "No update reports yet.\nEvery update of the virus database leaves one here.");
}

TEST_F(ReportsPageTest, TheComboBoxChoosesTheKind) {
    WriteIndex({{"d", "s", "scan.log"}});
    WriteIndex({{"d", "UP-TO-DATE", "updt.log"}}, "updt.rpt");
    int chosen = 0;
    QObject::connect(&m_page, &ReportsPage::KindChosen, [&] {
        ++chosen;
        m_page.TakeKind();
    });
    Find<QComboBox>("cmbReports")->setCurrentIndex(1);
    EXPECT_EQ(chosen, 1);
    EXPECT_EQ(g_siRptKind, 1);
    EXPECT_EQ(Rows(), Names{"updt.log"});
    Find<QComboBox>("cmbReports")->setCurrentIndex(0);
    EXPECT_EQ(g_siRptKind, 0);
    EXPECT_EQ(Rows(), Names{"scan.log"});
}

TEST_F(ReportsPageTest, EachKindSaysWhatIsEmpty) {
    WriteIndex({}, "updt.rpt");
    g_siRptKind = kUpdateReports;
    m_page.Fill();
    EXPECT_EQ(EmptyText(),
              "No update reports yet.\nEvery update of the virus database leaves one here.");
}

TEST_F(ReportsPageTest, CutAnywhereItListsWhatIsReadable) {
    const std::string whole = Index({{"d1", "s1", "a.log"}, {"d2", "s2", "b.log"}});
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        WriteFile(m_folder / "main.rpt", whole.substr(0, size));
        m_page.Fill();
        const std::size_t records = size < 12 ? 0 : (size - 12 + 541) / 542;
        ASSERT_EQ(Rows().size(), records) << size;
    }
}

TEST_F(ReportsPageTest, AWrongCountListsTheRecordsThatAreThere) {
    std::string bytes = Index({{"d", "s", "a.log"}});
    for (const std::string& count :
         {std::string("\0\0\0\x80", 4), std::string("\xFF\xFF\xFF\xFF")}) {
        WriteFile(m_folder / "main.rpt", bytes.replace(8, 4, count));
        m_page.Fill();
        EXPECT_EQ(Rows(), Names{"a.log"});
    }
}

TEST_F(ReportsPageTest, RubbishAndUnterminatedFieldsAreShownAsPlainText) {
    WriteFile(m_folder / "main.rpt", Index({}).replace(8, 1, "\x02") + std::string(542, '\xFF') +
                                         Record({"<b>d</b>", "a\nb", "x"}));
    m_page.Fill();
    ASSERT_EQ(Rows().size(), 2U);
    EXPECT_EQ(Rows(0)[1], "<b>d</b>");
    EXPECT_EQ(Rows(1)[1], "a\\nb") << "a newline does not break the row";
    EXPECT_EQ(Rows(2)[0].substr(0, 8), "\\xFF\\xFF");
}

TEST_F(ReportsPageTest, TenThousandReportsAreAllListed) {
    std::string bytes = Index({}).replace(8, 2, "\x10\x27");  // the count, 10,000
    for (int i = 0; i < 10'000; ++i) {
        bytes += Record({"date", "/home", "scn" + std::to_string(i) + ".log"});
    }
    WriteFile(m_folder / "main.rpt", bytes);
    m_page.Fill();
    ASSERT_EQ(Rows().size(), 10'000U);
    EXPECT_EQ(Rows().back(), "scn9999.log");
}

TEST_F(ReportsPageTest, ShowingOpensTheSelectedReport) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "b.log"}});
    WriteReport("b.log", "the text of b");
    m_page.Fill();
    Select(1);
    ModalDriver driver;
    driver.Expect([](QDialog* dialog) {
        auto* viewer = qobject_cast<dlgReport*>(dialog);
        ASSERT_NE(viewer, nullptr);
        EXPECT_EQ(viewer->findChild<QPlainTextEdit*>("edtViewRpt")->toPlainText(), "the text of b");
        viewer->reject();
    });
    m_page.ShowSelected();
    EXPECT_STREQ(g_szRptName, "b.log");
    EXPECT_EQ(g_szRptPath, m_folder / "reports/b.log");
}

TEST_F(ReportsPageTest, ANameThatLeadsElsewhereIsNotShown) {
    WriteFile(m_folder / "secret", "secret");
    WriteIndex({{"d", "s", "../secret"}});
    m_page.Fill();
    Select(0);
    ModalDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
    driver.Expect([](QDialog* dialog) { dialog->reject(); });
    m_page.ShowSelected();
    EXPECT_STREQ(g_szRptPath, "");
}

TEST_F(ReportsPageTest, RowsAndButtonsTellTheMainWindow) {
    WriteIndex({{"d", "s", "a.log"}});
    m_page.Fill();
    Names heard;
    QObject::connect(&m_page, &ReportsPage::ShowClicked, [&] { heard.push_back("show"); });
    QObject::connect(&m_page, &ReportsPage::DeleteClicked, [&] { heard.push_back("delete"); });
    QObject::connect(&m_page, &ReportsPage::RowClicked, [&] { heard.push_back("click"); });
    QObject::connect(&m_page, &ReportsPage::RowDoubleClicked, [&] { heard.push_back("double"); });
    m_page.resize(600, 400);
    m_page.show();
    Find<QPushButton>("btnShwRpt")->click();
    Find<QPushButton>("btnDelRpt")->click();
    const QPoint place = m_page.List()->visualItemRect(m_page.List()->topLevelItem(0)).center();
    QTest::mouseClick(m_page.List()->viewport(), Qt::LeftButton, {}, place);
    EXPECT_EQ(heard, (Names{"show", "delete", "click"}));
    QTest::mouseDClick(m_page.List()->viewport(), Qt::LeftButton, {}, place);
    EXPECT_EQ(heard.back(), "double");
}

}  // namespace
