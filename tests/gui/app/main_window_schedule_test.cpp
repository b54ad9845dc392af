// The schedule page in the main window: its slots lead to it.

#include <QLineEdit>
#include <QTest>
#include <QTreeWidget>

#include "schedule/dlg_schedule_scan.h"
#include "tests/gui/app/main_window_fixture.h"

namespace {

constexpr char kNoLibrary[] =
    "/usr/lib/Corvane/Corvane/schdlscn.so: cannot open shared object file: No such file or "
    "directory";

void ExpectCancelledWizard(ModalDriver& user, const QString& name) {
    user.Expect([=](QDialog* dialog) {
        ASSERT_NE(qobject_cast<dlgschedulescan*>(dialog), nullptr);
        EXPECT_EQ(dialog->findChild<QLineEdit*>("edtScanName")->text(), name);
        dialog->reject();
    });
}

TEST_F(MainWindow, TheSchedulePageIsFilledWhenItIsShown) {
    m_scheduler->AddTask("first", {"/a/"});
    Open();
    auto& list = Find<QTreeWidget>("lstvSch");
    EXPECT_EQ(list.topLevelItemCount(), 0);
    Click("btnSchedule");
    EXPECT_EQ(CurrentPage(), dlgMain::kSchedulePage);
    ASSERT_EQ(list.topLevelItemCount(), 1);
    EXPECT_EQ(list.topLevelItem(0)->text(0), "first");
    EXPECT_TRUE(Find<QWidget>("btnModsch").isEnabled());

    m_scheduler->AddTask("second", {});
    Click("btnSchedule");
    EXPECT_EQ(list.topLevelItemCount(), 2);
}

TEST_F(MainWindow, WithoutTheSchedulersLibraryTheSchedulePageIsShownAllTheSame) {
    FakeScheduler::Remove();
    Open();
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Warning, "Schedule Scan", kNoLibrary);
    Click("btnSchedule");
    EXPECT_EQ(CurrentPage(), dlgMain::kSchedulePage);
    EXPECT_FALSE(Find<QWidget>("btnModsch").isEnabled());
    EXPECT_FALSE(Find<QWidget>("btnDelsch").isEnabled());
}

TEST_F(MainWindow, TheSlotsOfTheScheduleLeadToItsPage) {
    m_scheduler->AddTask("first", {});
    m_scheduler->AddTask("second", {});
    dlgMain& window = Open();
    Click("btnSchedule");
    auto& list = Find<QTreeWidget>("lstvSch");
    ModalDriver user;
    ExpectCancelledWizard(user, "");
    Click("btnNewsch");
    ExpectCancelledWizard(user, "second");
    Click("btnModsch");
    ExpectCancelledWizard(user, "first");
    window.OnSchScnRwDblClick(list.topLevelItem(0), {}, 0);
    ExpectCancelledWizard(user, "first");
    emit list.itemDoubleClicked(list.topLevelItem(0), 1);
    list.clearSelection();
    user.ExpectMessage(QMessageBox::Warning, "Schedule Scan", "Please select task from list.");
    Click("btnDelsch");
}

}  // namespace
