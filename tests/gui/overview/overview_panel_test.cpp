// The overview as a person sees and hears it.

#include "overview/overview_panel.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>

#include "common/run_state.h"
#include "tests/fakes/schdlscn/fake_scheduler.h"

namespace {

using ::testing::ElementsAre;

void VersionOfToday(tagZQVERINFO* version) {
    const QDate day = QDate::currentDate();
    *version = {17,
                5,
                {static_cast<std::uint16_t>(day.year()), static_cast<std::uint16_t>(day.month()), 0,
                 static_cast<std::uint16_t>(day.day()), 0, 0, 0, 0}};
}

class Overview : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::getenv("CORVANE_SANDBOX") == nullptr) {
            GTEST_SKIP() << "works on the product's fixed paths: run it in tests/support/sandbox";
        }
        m_scheduler.emplace();
        std::filesystem::create_directory(m_app / "reports");
        ASSERT_TRUE(common::CopyToField(g_szAppPath, m_app.Path()));
        pfnGetVer = VersionOfToday;
    }
    void TearDown() override {
        m_panel.reset();
        pfnGetVer = nullptr;
        m_scheduler.reset();
    }
    void Open() {
        m_panel = std::make_unique<OverviewPanel>();
        QSignalSpy taken(m_panel.get(), &OverviewPanel::NewsTaken);
        m_panel->show();
        EXPECT_EQ(Says("lblNextScan"), "Next scheduled scan: being looked up");
        EXPECT_TRUE(taken.wait(30000));
    }
    std::string Says(const char* label) {
        return m_panel->findChild<QLabel*>(label)->text().toStdString();
    }
    std::string MarkOf(const char* mark) {
        return m_panel->findChild<QLabel*>(mark)->accessibleName().toStdString();
    }

    ScratchFolder m_app;
    std::optional<FakeScheduler> m_scheduler;
    std::unique_ptr<OverviewPanel> m_panel;
};

TEST_F(Overview, SaysHowItStandsWhenItIsShown) {
    Open();
    EXPECT_THAT(Says("lblDefs"), ::testing::StartsWith("Definitions: version 17.05, "));
    EXPECT_EQ(MarkOf("markDefinitions"), "All is well");
    EXPECT_EQ(Says("lblLastScan"), "Last scan: none yet");
    EXPECT_EQ(MarkOf("markLastScan"), "Wants attention");
    EXPECT_EQ(Says("lblUpdates"), "Automatic updates: off");
    EXPECT_EQ(MarkOf("markUpdates"), "Wants attention");
    EXPECT_FALSE(m_panel->findChild<QLabel*>("markUpdates")->pixmap().isNull());
}

TEST_F(Overview, LookingItUpMakesNoFile) {
    Open();
    EXPECT_FALSE(std::filesystem::exists(m_app / "zqupdate.opt"));
    EXPECT_FALSE(std::filesystem::exists(m_app / "main.rpt"));
}

TEST_F(Overview, TellsTheEarliestOfAllScansAndAsksAboutEach) {
    m_scheduler->AddTask("one", {});
    m_scheduler->AddTask("two", {});
    tagSCHEDULE_TASK_STATE state{};
    state.size = sizeof state;
    state.flags = kScheduleServiceRuns;
    state.nextRun = 1795608000;
    state.lastEnd = 1795521660;
    state.lastResult = kScheduleRunFound;
    state.infected = 5;
    m_scheduler->SetState(state);
    Open();
    EXPECT_THAT(Says("lblNextScan"), ::testing::EndsWith(", one"));
    EXPECT_EQ(MarkOf("markNextScan"), "All is well");
    EXPECT_THAT(Says("lblLastScan"), ::testing::EndsWith(", 5 infected file(s) found"));
    EXPECT_EQ(MarkOf("markLastScan"), "Danger");
    EXPECT_THAT(m_scheduler->TakeCalls("state"),
                ElementsAre(::testing::HasSubstr("<>"), ::testing::HasSubstr("<one>"),
                            ::testing::HasSubstr("<two>")));
}

TEST_F(Overview, ASilentServiceIsTold) {
    m_scheduler->AddTask("one", {});
    m_scheduler->SetScript("GetScheduleTaskState 1103\n");
    Open();
    EXPECT_EQ(Says("lblNextScan"),
              "Next scheduled scan: none, the service of the scheduler does not run");
}

TEST_F(Overview, WithoutTheLibraryOrWhatItMayHaveTheNextScanIsNotKnown) {
    FakeScheduler::Remove();
    Open();
    EXPECT_EQ(Says("lblNextScan"), "Next scheduled scan: not known");
    m_panel.reset();
    FakeScheduler::Install("without_GetScheduleTaskState");
    Open();
    EXPECT_EQ(Says("lblNextScan"), "Next scheduled scan: not known");
}

TEST_F(Overview, IsLookedUpAnewWhenItIsShownAgain) {
    Open();
    m_scheduler->AddTask("one", {});
    tagSCHEDULE_TASK_STATE state{};
    state.size = sizeof state;
    state.flags = kScheduleServiceRuns;
    m_scheduler->SetState(state);
    QSignalSpy taken(m_panel.get(), &OverviewPanel::NewsTaken);
    m_panel->hide();
    m_panel->show();
    ASSERT_TRUE(taken.wait(30000));
    EXPECT_EQ(Says("lblNextScan"), "Next scheduled scan: when the computer is started");
    EXPECT_EQ(taken.count(), 1);
}

TEST_F(Overview, EachLineLeadsToItsPage) {
    Open();
    QSignalSpy reports(m_panel.get(), &OverviewPanel::ReportsClicked);
    QSignalSpy schedule(m_panel.get(), &OverviewPanel::ScheduleClicked);
    QSignalSpy update(m_panel.get(), &OverviewPanel::UpdateClicked);
    for (const char* button : {"btnDefinitions", "btnLastScan", "btnNextScan", "btnUpdates"}) {
        m_panel->findChild<QPushButton*>(button)->click();
    }
    EXPECT_EQ(update.count(), 2);
    EXPECT_EQ(reports.count(), 1);
    EXPECT_EQ(schedule.count(), 1);
}

TEST_F(Overview, ItsWordsAndMarksAreHeard) {
    Open();
    QAccessibleInterface* heard =
        QAccessible::queryAccessibleInterface(m_panel->findChild<QLabel*>("lblUpdates"));
    EXPECT_EQ(heard->text(QAccessible::Name), "Automatic updates: off");
    EXPECT_EQ(heard->text(QAccessible::Description), "Wants attention");
    for (const auto* button : m_panel->findChildren<QPushButton*>()) {
        EXPECT_FALSE(button->accessibleName().isEmpty()) << button->objectName().toStdString();
        EXPECT_FALSE(button->toolTip().isEmpty()) << button->objectName().toStdString();
    }
}

TEST_F(Overview, ItsEndWaitsForTheAnswer) {
    m_panel = std::make_unique<OverviewPanel>();
    m_panel->show();
    m_panel.reset();  // while the scheduler is asked, or before it is
    // Nothing of it goes on then: the answer would be given to what is no longer there.
    const auto asked = m_scheduler->TakeCalls();
    EXPECT_THAT(asked, ::testing::Not(::testing::IsEmpty()));
}

}  // namespace
