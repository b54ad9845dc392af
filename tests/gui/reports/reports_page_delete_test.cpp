#include <filesystem>
#include <string>

#include <QMessageBox>

#include "tests/gui/reports/reports_page_fixture.h"
#include "tests/support/modal_driver.h"

// Deleting a report from the page: its file, its row and the index that is rewritten.

namespace fs = std::filesystem;

namespace {

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

}  // namespace
