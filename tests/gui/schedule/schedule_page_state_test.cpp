// What the page says of the selected scan and of the service, and running a scan now.

#include <QTimer>

#include "reports/dlg_report.h"
#include "tests/gui/schedule/schedule_page_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kReportsFolder[] = "/usr/lib/Corvane/Corvane/reports/";

class SchedulePageState : public SchedulePageTest {
protected:
    static tagSCHEDULE_TASK_STATE Running() {
        tagSCHEDULE_TASK_STATE state{};
        state.size = sizeof state;
        state.flags = kScheduleServiceRuns;
        state.nextRun = 1795608000;    // 2026-11-25 12:00 UTC
        state.lastStart = 1795521600;  // the day before
        state.lastEnd = 1795521660;
        state.lastResult = kScheduleRunClean;
        state.lastReason = kScheduleReasonDue;
        common::CopyToField(state.report, "schd0001.rpt");
        return state;
    }
    bool IsShown(const char* name) { return OnPage<QWidget>(name).isVisible(); }
    QString Says(const char* label) { return OnPage<QLabel>(label).text(); }
    static std::string Asked(const std::string& name) {
        return std::string(kTaskListPath) + " <" + name + "> 1000";
    }
};

TEST_F(SchedulePageState, TheSelectedScanTellsWhenItRunsAndHowItWent) {
    m_scheduler->AddTask("first", {});
    m_scheduler->AddTask("second", {});
    m_scheduler->SetState(Running());
    OpenPage();
    EXPECT_THAT(m_scheduler->TakeCalls("state").back(), Asked("second"));
    EXPECT_TRUE(IsShown("stateArea"));
    EXPECT_EQ(Says("lblNextRun"), "Next run: Wednesday, 25 November 2026, 12:00");
    EXPECT_EQ(Says("lblLastRun"), "Last run: Tuesday, 24 November 2026, 12:00: nothing found");
    EXPECT_TRUE(OnPage<QWidget>("btnRunSch").isEnabled());
    EXPECT_TRUE(OnPage<QWidget>("btnRptSch").isEnabled());
    EXPECT_FALSE(IsShown("lblNote"));

    m_scheduler->TakeCalls();
    Select(0);
    EXPECT_THAT(m_scheduler->TakeCalls("state"), ElementsAre(Asked("first")));
}

TEST_F(SchedulePageState, WithoutASelectedScanOnlyTheServiceIsAskedFor) {
    m_scheduler->SetState(Running());
    OpenPage();
    EXPECT_THAT(m_scheduler->TakeCalls("state"), ElementsAre(Asked("")));
    EXPECT_FALSE(IsShown("stateArea"));
    EXPECT_FALSE(IsShown("lblNote"));
}

TEST_F(SchedulePageState, WithoutTheServiceALineSaysSoAndHowItIsStarted) {
    m_scheduler->AddTask("task", {});
    OpenPage();  // a state of zeros: root's, who reads the list without a service
    EXPECT_TRUE(IsShown("lblNote"));
    EXPECT_THAT(Says("lblNote").toStdString(),
                HasSubstr("No scheduled scan runs now, because the service of the scheduler does "
                          "not run. An administrator starts it with: "));
    EXPECT_THAT(Says("lblNote").toStdString(), HasSubstr("corvane-scheduler"));
    EXPECT_TRUE(IsShown("stateArea"));
    EXPECT_FALSE(OnPage<QWidget>("btnRunSch").isEnabled());
    EXPECT_FALSE(OnPage<QWidget>("btnRptSch").isEnabled());

    m_scheduler->SetScript("GetScheduleTaskState 1103");
    m_page->RefreshState();
    EXPECT_TRUE(IsShown("lblNote"));
    EXPECT_THAT(Says("lblNote").toStdString(), HasSubstr("No scheduled scan runs now"));
    EXPECT_FALSE(IsShown("stateArea"));

    m_scheduler->SetScript("");
    m_scheduler->SetState(Running());
    m_page->RefreshState();
    EXPECT_FALSE(IsShown("lblNote"));
    EXPECT_TRUE(IsShown("stateArea"));
}

TEST_F(SchedulePageState, AStateThatCannotBeHadIsExplained) {
    m_scheduler->AddTask("task", {});
    m_scheduler->SetScript("GetScheduleTaskState 1104");
    OpenPage();
    EXPECT_EQ(Says("lblNote"), "This scheduled scan is no longer there.");
    EXPECT_TRUE(IsShown("lblNote"));
    EXPECT_FALSE(IsShown("stateArea"));
}

TEST_F(SchedulePageState, ALibraryWithoutTheseEntryPointsShowsNothingOfIt) {
    for (const char* variant : {"without_GetScheduleTaskState", "without_RunScheduleTaskNow"}) {
        FakeScheduler::Install(variant);
        m_scheduler->AddTask("task", {});
        OpenPage();
        EXPECT_FALSE(IsShown("stateArea")) << variant;
        EXPECT_FALSE(IsShown("lblNote")) << variant;
        EXPECT_THAT(m_scheduler->TakeCalls("state"), IsEmpty()) << variant;
    }
}

TEST_F(SchedulePageState, AScanThatRunsOrWaitsIsNotRunAgain) {
    m_scheduler->AddTask("task", {});
    for (const std::uint32_t flag : {kScheduleTaskRuns, kScheduleTaskWaits}) {
        tagSCHEDULE_TASK_STATE state = Running();
        state.flags |= flag;
        m_scheduler->SetState(state);
        OpenPage();
        EXPECT_FALSE(OnPage<QWidget>("btnRunSch").isEnabled());
    }
}

TEST_F(SchedulePageState, RunNowHasTheSelectedScanRun) {
    m_scheduler->AddTask("first", {});
    m_scheduler->AddTask("second", {});
    m_scheduler->SetState(Running());
    OpenPage();
    Select(0);
    m_scheduler->TakeCalls();
    Press("btnRunSch");
    EXPECT_THAT(m_scheduler->TakeCalls(), ElementsAre("run " + Asked("first"), "unloaded",
                                                      "state " + Asked("first"), "unloaded"));
}

TEST_F(SchedulePageState, ARefusedRunIsExplained) {
    m_scheduler->AddTask("task", {});
    m_scheduler->SetState(Running());
    OpenPage();
    m_scheduler->SetScript("RunScheduleTaskNow 1108");
    ModalDriver user;
    ExpectWarning(user, "This scan is running already, or waits for its turn.");
    Press("btnRunSch");
}

TEST_F(SchedulePageState, TheReportOfTheLastRunIsShown) {
    std::filesystem::create_directories(kReportsFolder);
    WriteFile(std::string(kReportsFolder) + "schd0001.rpt", "what was found");
    m_scheduler->AddTask("task", {});
    m_scheduler->SetState(Running());
    OpenPage();
    g_siRptKind = kUpdateReports;
    ModalDriver user;
    user.Expect([](QDialog* dialog) {
        ASSERT_NE(qobject_cast<dlgReport*>(dialog), nullptr);
        EXPECT_EQ(g_siRptKind, kScheduledReports);
        EXPECT_EQ(std::string(g_szRptPath), std::string(kReportsFolder) + "schd0001.rpt");
        dialog->reject();
    });
    Press("btnRptSch");
    EXPECT_EQ(g_siRptKind, kUpdateReports) << "the reports page shows what it did";
    g_siRptKind = kScanReports;
    std::filesystem::remove_all(kReportsFolder);
}

TEST_F(SchedulePageState, AReportElsewhereIsNotShown) {
    m_scheduler->AddTask("task", {});
    for (const char* name : {"/etc/passwd", "../secret", "a/b", ""}) {
        tagSCHEDULE_TASK_STATE state = Running();
        common::CopyToField(state.report, name);
        m_scheduler->SetState(state);
        OpenPage();
        EXPECT_FALSE(OnPage<QWidget>("btnRptSch").isEnabled()) << name;
    }
}

TEST_F(SchedulePageState, NewsAreLookedForWhileThePageIsShown) {
    m_scheduler->AddTask("task", {});
    OpenPage();
    auto* timer = m_page->findChild<QTimer*>("refreshTimer");
    ASSERT_NE(timer, nullptr);
    EXPECT_TRUE(timer->isActive());
    EXPECT_EQ(timer->interval(), 5000);
    m_scheduler->SetState(Running());
    timer->setInterval(1);
    EXPECT_TRUE(QTest::qWaitFor([this] { return Says("lblNextRun").contains("2026"); }, 60000));
    m_page->hide();
    EXPECT_FALSE(timer->isActive());
}

// The keys stay where they are while the page looks for news.
TEST_F(SchedulePageState, LookingForNewsLeavesTheFocus) {
    m_scheduler->AddTask("task", {});
    m_scheduler->SetState(Running());
    OpenPage();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_page.get()));
    OnPage<QWidget>("btnRunSch").setFocus();
    ASSERT_TRUE(OnPage<QWidget>("btnRunSch").hasFocus());
    m_page->RefreshState();
    EXPECT_TRUE(OnPage<QWidget>("btnRunSch").hasFocus());
}

}  // namespace
