#include <cstdint>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

#include <QMessageBox>

#include "reports/files/scheduled_index.h"
#include "tests/gui/reports/reports_page_fixture.h"
#include "tests/support/modal_driver.h"
#include "tests/support/scheduled_reports.h"

// The page over the reports of scheduled scans, which all users share.

namespace fs = std::filesystem;

namespace {

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

class ScheduledReportsPage : public ReportsPageTest {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the index has a fixed path; run inside tests/support/sandbox";
        }
        ReportsPageTest::SetUp();
        EmptyScheduledFolder();
        g_siRptKind = kScheduledReports;
    }

    static std::string Add(const std::string& name, std::uint32_t uid) {
        return AddScheduledReport(name, uid, "date");
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
