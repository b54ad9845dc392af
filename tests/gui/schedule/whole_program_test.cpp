// A person makes a scheduled scan in the wizard and finds its report in the list: the real library,
// service, scanner, engine and definitions, each where it is installed. Only the clocks are put
// forward.

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTreeWidget>

#include "common/run_state.h"
#include "reports/files/current_report.h"
#include "reports/reports_page.h"
#include "schedule/dlg_schedule_scan.h"
#include "schedule/schedule_page.h"
#include "tests/support/find_widget.h"
#include "tests/support/modal_driver.h"
#include "tests/support/scheduled_reports.h"
#include "tests/unit/product/schdlscn/shifted_service.h"
#include "widgets/dlg_dir.h"

namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

constexpr uid_t kDaemon = 1;
constexpr uid_t kBin = 2;
constexpr std::chrono::seconds kLimit = 120s;

/// This process is that user's while one of these lives.
class AsOwner {
public:
    explicit AsOwner(uid_t user) {
        EXPECT_EQ(::setresgid(user, user, 0), 0);
        EXPECT_EQ(::setresuid(user, user, 0), 0);
    }
    ~AsOwner() {
        EXPECT_EQ(::setresuid(0, 0, 0), 0);
        EXPECT_EQ(::setresgid(0, 0, 0), 0);
    }
    AsOwner(const AsOwner&) = delete;
    AsOwner& operator=(const AsOwner&) = delete;
};

std::string Eicar() {
    return std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}") + "$EICAR-STANDARD-ANTIVIRUS-TEST-FILE!" +
           "$H+H*";
}

class ScheduledScan : public ::testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "needs a root of its own";
        }
        InstallProduct();
        fs::remove_all(m_tree);
        fs::create_directories(m_tree + "/letters");
        WriteFile(m_tree + "/letters/letter", "Nothing is wrong with this letter.\n");
        WriteFile(m_tree + "/infected", Eicar());
        g_siRptKind = kScheduledReports;
        m_service.Begin(m_scanner);
    }

    static void InstallProduct() {
        fs::remove_all(kProductDirectory);
        fs::remove_all("/var/lib/clamav");
        fs::create_directories(kProductDirectory);
        for (const char* file : {SCHEDULER_LIBRARY, SCAN_ENGINE, SCAN_HOST, SCANNER}) {
            fs::copy_file(file, kProductDirectory / fs::path(file).filename());
        }
        for (const auto& [from, to] :
             {std::pair(DEFINITIONS, "defs"), std::pair(CATALOGUES, "translation")}) {
            fs::copy(from, kProductDirectory / fs::path(to), fs::copy_options::recursive);
        }
        ASSERT_EQ(std::system(CREATE_SHARED_FILES " /usr/lib/Corvane/Corvane"), 0);
    }

    static std::string Label(SchedulePage& page, const char* name) {
        return FindWidget<QLabel>(page, name)->text().toStdString();
    }

    // Through the wizard, every day at noon.
    void MakeTask(const QString& name, const std::string& folder) {
        const AsOwner owner(kDaemon);
        dlgschedulescan wizard;
        wizard.show();
        FindWidget<QLineEdit>(wizard, "edtScanName")->setText(name);
        ModalDriver user;
        user.Expect([&](QDialog* dialog) {
            ASSERT_NE(qobject_cast<dlgDir*>(dialog), nullptr);
            g_SchFolders = folder;
            dialog->accept();
        });
        FindWidget<QPushButton>(wizard, "btnAddFolders")->click();
        wizard.button(QWizard::NextButton)->click();
        ASSERT_EQ(wizard.currentId(), dlgschedulescan::kTimesPage);
        FindWidget<QComboBox>(wizard, "actioncomboBox")->setCurrentIndex(kScheduleReportOnly);
        wizard.button(QWizard::NextButton)->click();
        ASSERT_EQ(wizard.currentId(), dlgschedulescan::kSummaryPage);
        user.ExpectMessage(QMessageBox::Information, "Schedule Scan",
                           "Schedule Scan " + name + " is added successfully.");
        wizard.button(QWizard::FinishButton)->click();
        EXPECT_EQ(wizard.result(), 1);
    }

    // Up to some seconds after the next run.
    void PutForwardToNextRun(const std::string& name) {
        schdlscn::Request request{schdlscn::Request::Kind::kState, {}};
        request.task.name = name;
        const auto answer = schdlscn::AskService(schdlscn::kServiceSocket, request, 60s);
        ASSERT_TRUE(answer && answer->state) << "no answer";
        const std::int64_t now = ::time(nullptr) + m_service.Ahead().count();
        ASSERT_GT(answer->state->nextRun, now);
        m_service.PutForward(std::chrono::seconds(answer->state->nextRun - now + 5));
    }

    // What the page says of the last run, once it says that.
    static std::string LastRunOnceItSays(SchedulePage& page, const std::string& words) {
        const AsOwner owner(kDaemon);
        EXPECT_TRUE(WaitUntil(
            [&] {
                page.RefreshState();
                return Label(page, "lblLastRun").find(words) != std::string::npos;
            },
            kLimit))
            << Label(page, "lblLastRun");
        return Label(page, "lblLastRun");
    }

    // What was scanned and the path of the report, of each row that a user sees.
    static std::vector<std::pair<std::string, std::string>> Listed(uid_t user) {
        const AsOwner owner(user);
        ReportsPage page;
        page.Fill();
        std::vector<std::pair<std::string, std::string>> rows;
        for (int i = 0; i < page.List()->topLevelItemCount(); ++i) {
            const QTreeWidgetItem* row = page.List()->topLevelItem(i);
            rows.emplace_back(row->text(1).toStdString(), row->text(2).toStdString());
        }
        return rows;
    }

    // The report of the only row.
    static std::string OnlyReport() {
        const auto rows = Listed(kDaemon);
        EXPECT_EQ(rows.size(), 1U);
        return rows.size() == 1 ? ReadFile(rows.front().second) : "";
    }

    std::unique_ptr<SchedulePage> OpenPage() {
        const AsOwner owner(kDaemon);
        auto page = std::make_unique<SchedulePage>();
        page->show();
        page->Fill();
        return page;
    }

    const std::string m_scanner = common::InProductDirectory("corvane-scan");
    const std::string m_tree = "/corvane-sample";
    ShiftedService m_service;
};

TEST_F(ScheduledScan, MadeInTheWizardItsReportStandsInTheList) {
    MakeTask("Homes", m_tree);
    const auto page = OpenPage();
    EXPECT_EQ(Label(*page, "lblLastRun"), "Last run: none yet");
    EXPECT_THAT(Label(*page, "lblNextRun"), HasSubstr(", 12:00"));
    EXPECT_FALSE(FindWidget<QLabel>(*page, "lblNote")->isVisible());
    EXPECT_FALSE(FindWidget<QPushButton>(*page, "btnRptSch")->isEnabled());
    PutForwardToNextRun("Homes");
    EXPECT_THAT(LastRunOnceItSays(*page, "infected"), HasSubstr(", 12:00: 1 infected file"));
    EXPECT_TRUE(FindWidget<QPushButton>(*page, "btnRptSch")->isEnabled());

    const auto rows = Listed(kDaemon);
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows.front().first, m_tree);
    EXPECT_THAT(rows.front().second,
                ::testing::MatchesRegex("/usr/lib/Corvane/Corvane/reports/schd[0-9]{4}\\.rpt"));
    EXPECT_TRUE(Listed(kBin).empty());
    struct stat status {};
    ASSERT_EQ(::stat(rows.front().second.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kDaemon);

    const std::string report = OnlyReport();
    EXPECT_THAT(report, HasSubstr("\nScan Report For - Scheduled Scan\n"));
    EXPECT_THAT(report, HasSubstr("\nScanner Settings for this Scan were as follows\n\n"
                                  "- Scan Packed: On\n- Scan Archive: On\n"
                                  "- Scan Adware/Spyware: On\n- Dumb Scan: Off\n\n"
                                  "Action on Virus found\n- "));
    EXPECT_THAT(report, HasSubstr("\nScanning: " + m_tree + "/infected\nInfected: "));
    EXPECT_THAT(report, HasSubstr("\nVirus Database: "));
    EXPECT_THAT(report, HasSubstr("\nScan Summary\n"));
    EXPECT_THAT(report, HasSubstr("\n** Report End **\r\n"));
    for (const char* key : {"schddmn_", "schscan_", "cli_info_"}) {
        EXPECT_THAT(report, Not(HasSubstr(key)));
    }
    EXPECT_TRUE(Exists(m_tree + "/infected")) << "it was to be reported only";
}

TEST_F(ScheduledScan, ItsReportIsDeletedByItsOwner) {
    MakeTask("Homes", m_tree);
    const auto page = OpenPage();
    PutForwardToNextRun("Homes");
    LastRunOnceItSays(*page, "1 infected file");
    const auto rows = Listed(kDaemon);
    ASSERT_EQ(rows.size(), 1U);
    const std::string report = rows.front().second;
    const std::string others = AddScheduledReport("schd9999.rpt", kBin, "date");
    const auto remove = [&] {
        const AsOwner owner(kDaemon);
        ReportsPage reports;
        reports.Fill();
        reports.List()->setCurrentItem(reports.List()->topLevelItem(0));
        reports.DeleteSelected();
        return reports.List()->topLevelItemCount();
    };
    m_service.End(SIGTERM);
    {
        ModalDriver user;
        user.ExpectMessage(QMessageBox::Warning, "Schedule Scan", "Error in report delete.");
        EXPECT_EQ(remove(), 1);
    }
    EXPECT_TRUE(Exists(report)) << "nothing is deleted by halves";
    m_service.Begin(m_scanner);
    const ModalDriver nothingIsSaid;
    EXPECT_EQ(remove(), 0);
    EXPECT_FALSE(Exists(report));
    EXPECT_TRUE(Listed(kDaemon).empty());
    EXPECT_EQ(Listed(kBin).size(), 1U);
    EXPECT_TRUE(Exists(others));
}

// A record names a file anywhere: no report of the same name is taken for it.
TEST_F(ScheduledScan, ARecordThatLeadsElsewhereDeletesNothing) {
    const std::string report = AddScheduledReport("schd0001.rpt", kDaemon, "date");
    ASSERT_EQ(::chown(report.c_str(), kDaemon, kDaemon), 0);
    const tagReportIndexEntry elsewhere =
        ScheduledEntry("/elsewhere/schd0001.rpt", kDaemon, "date");
    ASSERT_TRUE(reports::AppendScheduledEntry(&elsewhere));
    {
        const AsOwner owner(kDaemon);
        ReportsPage page;
        page.Fill();
        page.List()->setCurrentItem(page.List()->topLevelItem(1));
        ModalDriver user;
        user.ExpectMessage(QMessageBox::Warning, "Schedule Scan", "Error in report delete.");
        page.DeleteSelected();
    }
    EXPECT_TRUE(Exists(report));
    EXPECT_EQ(Listed(kDaemon).size(), 2U);
}

TEST_F(ScheduledScan, ItIsMadeAlsoByAServiceThatWasStartedAnew) {
    MakeTask("Homes", m_tree);
    m_service.End(SIGTERM);
    m_service.Begin(m_scanner);
    const auto page = OpenPage();
    PutForwardToNextRun("Homes");
    LastRunOnceItSays(*page, "1 infected file");
    EXPECT_THAT(OnlyReport(), HasSubstr("\n** Report End **\r\n"));
}

TEST_F(ScheduledScan, MissedItIsMadeUpForAndSaysSo) {
    MakeTask("Homes", m_tree);
    m_service.End(SIGKILL);
    m_service.PutForward(30h);
    m_service.Begin(m_scanner);
    const auto page = OpenPage();
    EXPECT_EQ(Label(*page, "lblLastRun"), "Last run: none yet");
    PutForwardToNextRun("Homes");
    EXPECT_THAT(LastRunOnceItSays(*page, "1 infected file"),
                HasSubstr("(late, for a time when it could not run)"));
    EXPECT_THAT(OnlyReport(), HasSubstr("This scan was due earlier, while it could not run, and is "
                                        "made up for.\n"));
}

TEST_F(ScheduledScan, AFolderThatItsOwnerMayNotReadIsTold) {
    fs::remove(m_tree + "/infected");
    MakeTask("Homes", m_tree);
    ::chmod((m_tree + "/letters").c_str(), 0700);
    const auto page = OpenPage();
    PutForwardToNextRun("Homes");
    EXPECT_THAT(LastRunOnceItSays(*page, "could not be read"),
                HasSubstr("nothing found, 1 file could not be read"));
    EXPECT_THAT(OnlyReport(), HasSubstr("\n** Report End **\r\n"));
}

TEST_F(ScheduledScan, ItRunsNowWhenItIsAskedTo) {
    MakeTask("Homes", m_tree);
    const auto page = OpenPage();
    const std::string next = Label(*page, "lblNextRun");
    {
        const AsOwner owner(kDaemon);
        FindWidget<QPushButton>(*page, "btnRunSch")->click();
    }
    EXPECT_THAT(LastRunOnceItSays(*page, "1 infected file"), HasSubstr("(on request)"));
    EXPECT_EQ(Label(*page, "lblNextRun"), next);
    EXPECT_EQ(Listed(kDaemon).size(), 1U);
}

TEST_F(ScheduledScan, WithoutTheServiceThePageSaysSo) {
    MakeTask("Homes", m_tree);
    const auto page = OpenPage();
    EXPECT_TRUE(FindWidget<QWidget>(*page, "stateArea")->isVisible());
    m_service.End(SIGTERM);
    const AsOwner owner(kDaemon);
    page->RefreshState();
    EXPECT_TRUE(FindWidget<QLabel>(*page, "lblNote")->isVisible());
    EXPECT_THAT(Label(*page, "lblNote"), HasSubstr("No scheduled scan runs now"));
    EXPECT_FALSE(FindWidget<QWidget>(*page, "stateArea")->isVisible());
}

}  // namespace
