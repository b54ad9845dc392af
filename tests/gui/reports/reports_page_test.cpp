#include "reports/reports_page.h"

#include <unistd.h>

#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTest>
#include <QTreeWidget>

#include "reports/dlg_report.h"
#include "reports/scheduled_index.h"
#include "tests/gui/reports/report_fixture.h"
#include "tests/support/modal_driver.h"

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

/// While it lives this process runs for a user other than the superuser, with the rights it had.
class OrdinaryUser {
public:
    OrdinaryUser() : m_before(::getuid()) {
        if (m_before == 0) {
            EXPECT_EQ(::setresuid(500, 0, 0), 0);
        }
    }
    ~OrdinaryUser() {
        if (m_before == 0) {
            EXPECT_EQ(::setresuid(0, 0, 0), 0);
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    uid_t m_before;
};

class ReportsPageTest : public ReportFixture {
protected:
    template <typename Widget>
    Widget* Find(const char* name) {
        auto* widget = m_page.findChild<Widget*>(QLatin1String(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }

    Names Rows(int column = 2) {
        Names rows;
        const QTreeWidget* list = m_page.List();
        for (int i = 0; i < list->topLevelItemCount(); ++i) {
            rows.push_back(list->topLevelItem(i)->text(column).toStdString());
        }
        return rows;
    }

    void Select(int row) { m_page.List()->setCurrentItem(m_page.List()->topLevelItem(row)); }

    std::string Selected() {
        const auto selected = m_page.List()->selectedItems();
        return selected.isEmpty() ? "" : selected.first()->text(2).toStdString();
    }

    bool ButtonsEnabled() {
        const bool canDelete = Find<QPushButton>("btnDelRpt")->isEnabled();
        EXPECT_EQ(Find<QPushButton>("btnShwRpt")->isEnabled(), canDelete);
        return canDelete;
    }

    // What the page says instead of a list, empty when it shows the list.
    std::string EmptyText() {
        const auto* stack = Find<QStackedWidget>("listOrEmpty");
        return stack->currentWidget() == m_page.List()
                   ? ""
                   : Find<QLabel>("lblEmpty")->text().toStdString();
    }

    ReportsPage m_page;
};

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
    }
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

TEST_F(ReportsPageTest, DeletingRemovesTheFileTheRowAndTheRecord) {
    WriteIndex({{"d1", "s1", "a.log"}, {"d2", "s2", "b.log"}, {"d3", "s3", "c.log"}});
    WriteReport("a.log", "a");
    WriteReport("b.log", "b");
    m_page.Fill();
    Select(1);
    m_page.DeleteSelected();
    EXPECT_FALSE(HasReport("b.log"));
    EXPECT_TRUE(HasReport("a.log"));
    EXPECT_EQ(Rows(), (Names{"a.log", "c.log"}));
    EXPECT_EQ(Selected(), "c.log") << "the row below is selected";
    EXPECT_EQ(ReadFile(m_folder / "main.rpt"),
              Index({{"d1", "s1", "a.log"}, {"d3", "s3", "c.log"}}));
    EXPECT_EQ(fs::status(m_folder / "main.rpt").permissions(), fs::perms(0666));
}

TEST_F(ReportsPageTest, DeletingTheLastRowSelectsTheOneAboveAndThenDisablesBothButtons) {
    WriteIndex({{"d1", "s1", "a.log"}, {"d2", "s2", "b.log"}});
    m_page.Fill();
    Select(1);
    m_page.DeleteSelected();
    EXPECT_EQ(Selected(), "a.log");
    EXPECT_TRUE(ButtonsEnabled());
    m_page.DeleteSelected();
    EXPECT_EQ(Rows(), Names{});
    EXPECT_FALSE(ButtonsEnabled());
    EXPECT_NE(EmptyText(), "");
    EXPECT_EQ(ReadFile(m_folder / "main.rpt"), std::string("ZQRF\0\0\0\0\0\0\0\0", 12));
    m_page.DeleteSelected();
    EXPECT_EQ(Rows(), Names{}) << "nothing selected, nothing deleted";
}

TEST_F(ReportsPageTest, TheListDecidesWhatTheIndexKeeps) {
    WriteIndex({{"d1", "s1", "a.log"}, {"d2", "s2", "b.log"}}, "updt.rpt");
    g_siRptKind = kUpdateReports;
    m_page.Fill();
    WriteIndex({{"d1", "s1", "a.log"}, {"d2", "s2", "b.log"}, {"d3", "s3", "new.log"}}, "updt.rpt");
    Select(0);
    m_page.DeleteSelected();
    EXPECT_EQ(ReadFile(m_folder / "updt.rpt"), Index({{"d2", "s2", "b.log"}}));
}

TEST_F(ReportsPageTest, BytesThatAreNoTextSurviveARewrite) {
    const Listed odd{"d", "/home/\xE9\n<i>\x01", "odd\xFF.log"};
    WriteIndex({{"d", "s", "a.log"}, odd});
    m_page.Fill();
    Select(0);
    m_page.DeleteSelected();
    EXPECT_EQ(ReadFile(m_folder / "main.rpt"), Index({odd}));
}

TEST_F(ReportsPageTest, FieldsThatAreFullSurviveARewrite) {
    const Listed full{std::string(30, 'd'), std::string(256, 's'), std::string(256, 'n')};
    WriteIndex({{"d", "s", "a.log"}, full});
    m_page.Fill();
    EXPECT_EQ(Rows(0)[1], full.date);
    EXPECT_EQ(Rows(1)[1], full.subject);
    EXPECT_EQ(Rows(2)[1], full.name);
    Select(0);
    m_page.DeleteSelected();
    EXPECT_EQ(ReadFile(m_folder / "main.rpt"), Index({full}));
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

TEST_F(ReportsPageTest, ANameThatLeadsElsewhereDeletesNothing) {
    WriteFile(m_folder / "victim", "precious");
    WriteIndex({{"d", "s", "../victim"}, {"d", "s", m_folder / "victim"}});
    m_page.Fill();
    Select(0);
    m_page.DeleteSelected();
    m_page.DeleteSelected();
    EXPECT_EQ(Rows(), Names{});
    EXPECT_EQ(ReadFile(m_folder / "victim"), "precious");
}

TEST_F(ReportsPageTest, AnIndexThatCannotBeRewrittenIsSaid) {
    WriteIndex({{"d", "s", "a.log"}});
    m_page.Fill();
    fs::remove(m_folder / "main.rpt");
    ModalDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane",
                         "Unable to open Report File. \n Close all the application and try again");
    Select(0);
    m_page.DeleteSelected();
    EXPECT_FALSE(fs::exists(m_folder / "main.rpt"));
}

TEST_F(ReportsPageTest, ShowingOpensTheSelectedReport) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "b.log"}});
    WriteReport("b.log", "the text of b");
    m_page.Fill();
    m_page.ShowSelected();  // no row: nothing happens
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

class ScheduledReportsPage : public ReportsPageTest {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the index has a fixed path; run inside tests/support/sandbox";
        }
        ReportsPageTest::SetUp();
        fs::remove_all("/usr/lib/Corvane/Corvane/reports");
        fs::create_directories("/usr/lib/Corvane/Corvane/reports");
        g_siRptKind = kScheduledReports;
    }

    static std::string Add(const std::string& name, std::uint32_t uid) {
        std::string path = "/usr/lib/Corvane/Corvane/reports/" + name;
        WriteFile(path, name);
        tagReportIndexEntry entry{};
        CopyToField(entry.dateTime, "date");
        CopyToField(entry.scanned, "/home");
        CopyToField(entry.reportPath, path);
        entry.userId = uid;
        EXPECT_TRUE(ScanReports().MakeIndexEntry(&entry));
        return path;
    }
};

TEST_F(ScheduledReportsPage, ListsFullPathsAndDeletesThroughTheIndex) {
    const std::string first = Add("schd0001.rpt", getuid());
    const std::string second = Add("schd0002.rpt", getuid());
    m_page.Fill();
    EXPECT_EQ(Rows(0), (Names{"date", "date"}));
    EXPECT_EQ(Rows(1), (Names{"/home", "/home"}));
    EXPECT_EQ(Rows(2), (Names{first, second}));
    Select(0);
    m_page.DeleteSelected();
    EXPECT_FALSE(fs::exists(first));
    EXPECT_EQ(Rows(), Names{second});
    EXPECT_EQ(Selected(), second);
    EXPECT_TRUE(ButtonsEnabled());
    m_page.DeleteSelected();
    EXPECT_EQ(Rows(), Names{});
    EXPECT_FALSE(ButtonsEnabled()) << "the only row is gone";
}

TEST_F(ScheduledReportsPage, AnOrdinaryUserSeesAndDeletesOnlyTheirOwn) {
    const OrdinaryUser user;
    const std::string others = Add("schd0001.rpt", getuid() + 1);
    const std::string first = Add("schd0002.rpt", getuid());
    const std::string second = Add("schd0003.rpt", getuid());
    m_page.Fill();
    EXPECT_EQ(Rows(), (Names{first, second}));
    Select(1);
    m_page.DeleteSelected();
    EXPECT_EQ(Rows(), Names{first});
    EXPECT_EQ(Selected(), first) << "the row above, as there is none below";
    EXPECT_FALSE(fs::exists(second));
    EXPECT_TRUE(fs::exists(others));
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = 0;
    ASSERT_TRUE(ReadIndexEntry(1001, entries, 0, &err));
    EXPECT_EQ(entries.size(), 1U) << "the other user's record is lost";
}

TEST_F(ScheduledReportsPage, TheSuperuserSeesThemAll) {
    if (getuid() != 0) {
        GTEST_SKIP() << "only for the superuser";
    }
    const std::string first = Add("schd0001.rpt", 500);
    const std::string second = Add("schd0002.rpt", 501);
    m_page.Fill();
    EXPECT_EQ(Rows(), (Names{first, second}));
}

TEST_F(ScheduledReportsPage, ItsRowsAreNeverWrittenIntoTheScansIndex) {
    WriteIndex({{"d", "s", "a.log"}});
    Add("schd0001.rpt", getuid());
    m_page.Fill();
    m_page.RewriteIndex();
    EXPECT_EQ(ReadFile(m_folder / "main.rpt"), Index({{"d", "s", "a.log"}}));
}

TEST_F(ScheduledReportsPage, AReportThatIsNotInTheIndexIsSaidAndStays) {
    Add("schd0001.rpt", getuid());
    Add("schd0002.rpt", getuid());
    m_page.Fill();
    unsigned int err = 0;
    std::vector<tagReportIndexEntry> entries;
    ASSERT_TRUE(ReadIndexEntry(1001, entries, 0, &err));
    entries.erase(entries.begin());
    ASSERT_TRUE(WriteIndexEntry(1001, entries, &err));
    ModalDriver driver;
    driver.ExpectMessage(QMessageBox::Warning, "Schedule Scan", "Error in report delete.");
    Select(0);
    m_page.DeleteSelected();
    EXPECT_EQ(Rows().size(), 2U) << "the list is unchanged";
}

TEST_F(ScheduledReportsPage, AMissingIndexIsAnEmptyListThatSaysSo) {
    m_page.Fill();
    EXPECT_EQ(Rows(), Names{});
    EXPECT_EQ(EmptyText(),
              "No reports of scheduled scans yet.\nEvery scheduled scan leaves one here.");
}

}  // namespace
