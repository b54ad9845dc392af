// The way onto the update page and away from it: the settings password and unapplied changes.

#include "tests/gui/app/update_page_fixture.h"
#include "tests/support/expected_questions.h"

namespace {

namespace fs = std::filesystem;

using UpdateGuards = UpdatePageTest;

TEST_F(UpdateGuards, ThePasswordIsAskedFor) {
    Put(kFile, Record(0x8));
    Open();
    SetDatabaseAnswers("1 1 1 1001");
    ModalDriver user;
    ExpectPasswordQuestion(user, "wrong", QDialog::Accepted);
    user.ExpectMessage(QMessageBox::Warning, "Corvane", "Invalid password");
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
    EXPECT_FALSE(Find<QAbstractButton>("btnUpdate").isChecked());

    ExpectPasswordQuestion(user, "secret", QDialog::Rejected);
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);

    SetDatabaseAnswers("0 0 1 1000");
    user.ExpectMessage(QMessageBox::Warning, "Corvane",
                       "Unable to read the settings, Please try again.");
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);

    SetDatabaseAnswers("1 1 1 1000");
    ExpectPasswordQuestion(user, "secret", QDialog::Accepted);
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
    EXPECT_TRUE(Find<QAbstractButton>("btnUpdate").isChecked());
}

TEST_F(UpdateGuards, ThePasswordIsNotAskedForOnThePageItself) {
    OpenPage(Record(0x8));
    SetDatabaseAnswers("1 1 1 1001");
    ModalDriver user;
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
    Internet().click();
    ExpectSaveQuestion(user, QMessageBox::Cancel);
    Click("btnScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
    EXPECT_TRUE(Find<QAbstractButton>("btnUpdate").isChecked());
    EXPECT_FALSE(Find<QAbstractButton>("btnScan").isChecked());
}

TEST_F(UpdateGuards, UnsavedScannerSettingsComeFirst) {
    dlgMain& window = Open();
    window.OnOptClick();
    Click("chkScdmb");
    ModalDriver user;
    ExpectSaveQuestion(user, QMessageBox::Cancel);
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kSettingsPage);
    EXPECT_FALSE(Find<QAbstractButton>("btnUpdate").isChecked());
    ExpectSaveQuestion(user, QMessageBox::No);
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
}

TEST_F(UpdateGuards, LeavingWithoutChangesAsksNothing) {
    dlgMain& window = OpenPage(Record(0x8));
    ModalDriver user;
    EXPECT_TRUE(window.ApplyNetSettingsOrNot());
    Click("btnScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
}

TEST_F(UpdateGuards, LeavingWithYesApplies) {
    OpenPage(Record(0x8));
    Internet().click();
    ModalDriver user;
    ExpectSaveQuestion(user, QMessageBox::Yes);
    Click("btnScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
    EXPECT_EQ(Get(kFile), Record(0x2));
    EXPECT_EQ(Shown(), "internet");
}

TEST_F(UpdateGuards, LeavingWithYesStaysWhenApplyingFails) {
    OpenPage(Record(0x8));
    FromPath().click();
    ModalDriver user;
    ExpectSaveQuestion(user, QMessageBox::Yes);
    ExpectCritical(user, "Corvane", "Please provide the path.");
    Click("btnScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
    EXPECT_EQ(Shown(), "path= *");
    EXPECT_EQ(Get(kFile), Record(0x8));
}

TEST_F(UpdateGuards, WithoutTheStatusLibraryLeavingStaysOnceAndIsFreeThen) {
    OpenPage(Record(0x8));
    fs::remove("/usr/lib/Corvane/Corvane/scansts.so");
    Internet().click();
    ModalDriver user;
    ExpectSaveQuestion(user, QMessageBox::Yes);
    Click("btnScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
    EXPECT_EQ(Get(kFile), Record(0x2));
    Click("btnScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
}

TEST_F(UpdateGuards, LeavingWithNoDropsTheChanges) {
    OpenPage(Record(0x8));
    Internet().click();
    ModalDriver user;
    ExpectSaveQuestion(user, QMessageBox::No);
    Click("btnAbout");
    EXPECT_EQ(CurrentPage(), dlgMain::kAboutPage);
    EXPECT_EQ(Get(kFile), Record(0x8));
    EXPECT_EQ(Shown(), "server");
}

TEST_F(UpdateGuards, LeavingWithCancelKeepsThePage) {
    dlgMain& window = OpenPage(Record(0x8));
    Internet().click();
    for (const char* button : {"btnScan", "btnOptions", "btnReports", "btnSchedule", "btnAbout"}) {
        ModalDriver user;
        ExpectSaveQuestion(user, QMessageBox::Cancel);
        Click(button);
        EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage) << button;
        EXPECT_TRUE(Find<QAbstractButton>("btnUpdate").isChecked()) << button;
        EXPECT_FALSE(Find<QAbstractButton>(button).isChecked()) << button;
    }
    EXPECT_EQ(Shown(), "internet *");
    ModalDriver user;
    ExpectSaveQuestion(user, QMessageBox::Cancel);
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    ExpectSaveQuestion(user, QMessageBox::No);
    EXPECT_TRUE(window.close());
    EXPECT_EQ(Get(kFile), Record(0x8));
}

}  // namespace
