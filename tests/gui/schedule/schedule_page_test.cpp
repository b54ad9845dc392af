// The page's list: what is in it, and adding, changing and removing.

#include <QTranslator>

#include "tests/gui/schedule/schedule_page_fixture.h"
#include "tests/support/screen_reader.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kRead = std::string("read ") + kTaskListPath + " 1000";
constexpr char kNoLibrary[] =
    "/usr/lib/Corvane/Corvane/schdlscn.so: cannot open shared object file: No such file or "
    "directory";
constexpr char kUndefined[] = "/usr/lib/Corvane/Corvane/schdlscn.so: undefined symbol: ";

TEST_F(SchedulePageTest, ItsPartsAreNamedAndExplained) {
    OpenPage();
    EXPECT_EQ(OnPage<QLabel>("lblHeading").text(), "Schedule Scan");
    QStringList columns;
    for (int column = 0; column < List().columnCount(); ++column) {
        columns << List().headerItem()->text(column);
    }
    EXPECT_EQ(columns, (QStringList{"Schedule Item", "Frequency", "Scan Location"}));
    EXPECT_EQ(List().objectName(), "lstvSch");
    for (const char* name :
         {"lstvSch", "btnNewsch", "btnModsch", "btnDelsch", "btnRunSch", "btnRptSch"}) {
        EXPECT_FALSE(OnPage<QWidget>(name).accessibleName().isEmpty()) << name;
        EXPECT_FALSE(OnPage<QWidget>(name).toolTip().isEmpty()) << name;
    }
    EXPECT_THAT(ScreenReader::UnreadableLabels(*m_page), IsEmpty());
}

TEST_F(SchedulePageTest, ListsTheTasksInTheirOrderAndSelectsTheLast) {
    tagSCHEDULE_SCAN_ENTRY weekly{};
    common::CopyToField(weekly.name, "weekly");
    weekly.frequency = kScheduleWeekly;
    tagSCHEDULE_SCAN_ENTRY other{};
    common::CopyToField(other.name, "<b>other\xE9");
    other.frequency = 2;
    m_scheduler->AddTask("daily", {"/b/", "/a/", "/b/"});
    m_scheduler->AddTask(weekly, {});
    m_scheduler->AddTask(other, {"/x\n/"});
    OpenPage();
    EXPECT_THAT(ListRows(),
                ElementsAre("daily|Daily|/b/;/a/;/b/", "weekly|Weekly|", "<b>other\\xE9||/x\\n/"));
    EXPECT_EQ(Selected(), "<b>other\\xE9");
    EXPECT_EQ(EditAndDelete(), kBoth);
    EXPECT_FALSE(List().topLevelItem(2)->toolTip(0).contains("<b>"));
    EXPECT_THAT(m_scheduler->TakeCalls(), Contains(kRead));

    m_page->Fill();
    EXPECT_EQ(List().topLevelItemCount(), 3) << "cleared before";
}

TEST_F(SchedulePageTest, TheLibraryIsLoadedForEachUseAndUnloaded) {
    FakeScheduler::Install("without_GetScheduleTaskState");
    OpenPage();
    EXPECT_THAT(m_scheduler->TakeCalls(), ElementsAre(kRead, "unloaded", "unloaded"));
}

TEST_F(SchedulePageTest, WithoutTasksNothingCanBeChanged) {
    m_scheduler->AddTask("task", {});
    OpenPage();
    m_scheduler->DropTasks();
    m_page->Fill();
    EXPECT_THAT(ListRows(), IsEmpty());
    EXPECT_EQ(EditAndDelete(), kNeither);
    EXPECT_TRUE(OnPage<QWidget>("btnNewsch").isEnabled());
}

TEST_F(SchedulePageTest, AListThatCannotBeReadStaysAsItWasAndSaysWhy) {
    tagSCHEDULE_TASK_STATE state{};
    state.flags = kScheduleServiceRuns;
    m_scheduler->SetState(state);
    m_scheduler->AddTask("task", {"/a/"});
    OpenPage();
    m_scheduler->AddTask("another", {});
    m_scheduler->SetScript("ReadScheduleScanTaskList 1107");
    m_page->Fill();
    EXPECT_THAT(ListRows(), ElementsAre("task|Daily|/a/"));
    EXPECT_EQ(EditAndDelete(), kNeither);
    EXPECT_TRUE(OnPage<QLabel>("lblNote").isVisible());
    EXPECT_EQ(OnPage<QLabel>("lblNote").text(),
              "The list of scheduled scans cannot be read or written.");

    m_scheduler->SetScript("");
    m_page->Fill();
    EXPECT_EQ(List().topLevelItemCount(), 2);
    EXPECT_EQ(EditAndDelete(), kBoth);
}

TEST_F(SchedulePageTest, WithoutTheLibraryTheLoaderSaysWhy) {
    FakeScheduler::Remove();
    ModalDriver user;
    ExpectWarning(user, kNoLibrary);
    OpenPage();
    EXPECT_EQ(EditAndDelete(), kNeither);

    ExpectWarning(user, kNoLibrary);  // by the wizard
    ExpectWarning(user, kNoLibrary);  // by the list, which is read anew
    Press("btnNewsch");
}

TEST_F(SchedulePageTest, WithoutItsEntryPointTheListStays) {
    m_scheduler->AddTask("task", {});
    OpenPage();
    FakeScheduler::Install("without_ReadScheduleScanTaskList");
    ModalDriver user;
    ExpectWarning(user, QString(kUndefined) + "ReadScheduleScanTaskList");
    m_page->Fill();
    EXPECT_EQ(List().topLevelItemCount(), 1);
    EXPECT_EQ(EditAndDelete(), kNeither);
}

// ---- New

TEST_F(SchedulePageTest, ANewScanIsListed) {
    OpenPage();
    ModalDriver user;
    ExpectWizard(user, "fresh", true);
    ExpectInformation(user, "Schedule Scan fresh is added successfully.");
    Press("btnNewsch");
    EXPECT_THAT(ListRows(), ElementsAre("fresh|Daily|"));
    EXPECT_EQ(EditAndDelete(), kBoth);
    EXPECT_EQ(g_pPScheduleScanEntry, nullptr) << "the wizard is gone";
}

TEST_F(SchedulePageTest, TheListIsReadAnewAlsoAfterACancelledWizard) {
    OpenPage();
    m_scheduler->AddTask("meanwhile", {});
    ModalDriver user;
    ExpectWizard(user, "", false);
    Press("btnNewsch");
    EXPECT_THAT(ListRows(), ElementsAre("meanwhile|Daily|"));
}

// ---- Edit

TEST_F(SchedulePageTest, WithoutASelectedRowNothingIsChanged) {
    m_scheduler->AddTask("task", {});
    OpenPage();
    List().clearSelection();
    ModalDriver user;
    ExpectWarning(user, "Please select task from list.");
    Press("btnModsch");
}

TEST_F(SchedulePageTest, TheSelectedScanIsChangedAndTheListReadAnew) {
    m_scheduler->AddTask("first", {});
    m_scheduler->AddTask("second", {});
    OpenPage();
    Select(0);
    m_scheduler->AddTask("meanwhile", {});
    ModalDriver user;
    ExpectWizard(user, "first", true);
    ExpectInformation(user, "Schedule Scan first modified successfully.");
    Press("btnModsch");
    EXPECT_EQ(List().topLevelItemCount(), 3);
}

TEST_F(SchedulePageTest, AfterACancelledChangeTheListIsNotReadAnew) {
    m_scheduler->AddTask("task", {});
    OpenPage();
    m_scheduler->AddTask("meanwhile", {});
    ModalDriver user;
    ExpectWizard(user, "task", false);
    Press("btnModsch");
    EXPECT_EQ(List().topLevelItemCount(), 1);
}

TEST_F(SchedulePageTest, ADoubleClickChangesItsRowWithoutReadingTheListAnew) {
    m_scheduler->AddTask("first", {});
    m_scheduler->AddTask("second", {});
    OpenPage();
    m_scheduler->AddTask("meanwhile", {});
    ModalDriver user;
    ExpectWizard(user, "first", true);
    ExpectInformation(user, "Schedule Scan first modified successfully.");
    emit List().itemDoubleClicked(List().topLevelItem(0), 2);
    EXPECT_EQ(List().topLevelItemCount(), 2);

    ExpectWizard(user, "second", false);
    Select(1);
    QTest::keyClick(&List(), Qt::Key_Return);
}

// ---- Remove

TEST_F(SchedulePageTest, RemovesTheSelectedScanAfterAQuestion) {
    for (const char* name : {"a", "b", "c"}) {
        m_scheduler->AddTask(name, {});
    }
    OpenPage();
    Select(1);
    m_scheduler->TakeCalls();
    ModalDriver user;
    ExpectQuestion(user, "&Yes");
    Press("btnDelsch");
    EXPECT_THAT(m_scheduler->TakeCalls("delete"),
                ElementsAre(std::string(kTaskListPath) + " <b> 1000"));
    EXPECT_THAT(ListRows(), ElementsAre("a|Daily|", "c|Daily|"));
    EXPECT_EQ(Selected(), "c") << "the row below";

    ExpectQuestion(user, "&Yes");
    Press("btnDelsch");
    EXPECT_EQ(Selected(), "a") << "the row above, where there is none below";
    EXPECT_EQ(EditAndDelete(), kBoth);

    ExpectQuestion(user, "&Yes");
    Press("btnDelsch");
    EXPECT_THAT(ListRows(), IsEmpty());
    EXPECT_EQ(EditAndDelete(), kNeither);
}

TEST_F(SchedulePageTest, RemovesNothingWhenTheAnswerIsNo) {
    m_scheduler->AddTask("task", {});
    OpenPage();
    m_scheduler->TakeCalls();
    ModalDriver user;
    ExpectQuestion(user, "&No");
    Press("btnDelsch");
    EXPECT_EQ(List().topLevelItemCount(), 1);
    EXPECT_THAT(m_scheduler->TakeCalls("delete"), IsEmpty());
}

TEST_F(SchedulePageTest, AScanThatIsNotRemovedStaysInTheListAndTheReasonIsSaid) {
    m_scheduler->AddTask("task", {});
    OpenPage();
    m_scheduler->SetScript("DeleteScheduleScanTask 1103");
    ModalDriver user;
    ExpectQuestion(user, "&Yes");
    ExpectWarning(user, "The service of the scheduler does not run or does not answer.");
    Press("btnDelsch");
    EXPECT_EQ(List().topLevelItemCount(), 1);
    EXPECT_EQ(EditAndDelete(), kBoth);
}

TEST_F(SchedulePageTest, RemovingFromAnEmptyListDoesNothing) {
    OpenPage();
    m_scheduler->TakeCalls();
    m_page->RemoveSelected();
    EXPECT_THAT(m_scheduler->TakeCalls(), IsEmpty());
}

// The library is looked for first, also when nothing is selected.
TEST_F(SchedulePageTest, RemovingNeedsTheLibraryAndASelectedRow) {
    m_scheduler->AddTask("task", {});
    OpenPage();
    List().clearSelection();
    ModalDriver user;
    ExpectWarning(user, "Please select task from list.");
    Press("btnDelsch");
    FakeScheduler::Install("without_DeleteScheduleScanTask");
    ExpectWarning(user, QString(kUndefined) + "DeleteScheduleScanTask");
    Press("btnDelsch");
    FakeScheduler::Remove();
    ExpectWarning(user, kNoLibrary);
    Press("btnDelsch");
    EXPECT_EQ(List().topLevelItemCount(), 1);
}

TEST_F(SchedulePageTest, TextsFollowTheLanguage) {
    m_scheduler->AddTask("task", {});
    OpenPage();
    QTranslator german;
    ASSERT_TRUE(german.load(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm"));
    QApplication::installTranslator(&german);
    QApplication::processEvents();
    EXPECT_EQ(OnPage<QLabel>("lblHeading").text(), "Geplante Prüfung");
    EXPECT_THAT(ListRows(), ElementsAre("task|Täglich|"));
    QApplication::removeTranslator(&german);
    QApplication::processEvents();
    EXPECT_THAT(ListRows(), ElementsAre("task|Daily|"));
}

}  // namespace
