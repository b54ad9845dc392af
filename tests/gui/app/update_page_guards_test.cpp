// The way onto the update page and away from it: the settings password and unapplied changes.

#include <QInputDialog>

#include "tests/gui/app/update_page_fixture.h"

namespace {

namespace fs = std::filesystem;

class UpdateGuards : public UpdatePageTest {
protected:
    static void ExpectQuestion(ModalDriver& user, QMessageBox::StandardButton answer) {
        user.Expect([answer](QDialog* dialog) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->icon(), QMessageBox::Question);
            EXPECT_EQ(box->windowTitle(), "Corvane Settings");
            EXPECT_EQ(box->text(), "Do you want to save the changes?");
            EXPECT_EQ(box->standardButtons(),
                      QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
            box->button(answer)->click();
        });
    }
    static void ExpectPassword(ModalDriver& user, const QString& typed, int result) {
        user.Expect([typed, result](QDialog* dialog) {
            auto* input = qobject_cast<QInputDialog*>(dialog);
            ASSERT_NE(input, nullptr);
            EXPECT_EQ(input->labelText(), "Enter password:");
            EXPECT_EQ(input->textEchoMode(), QLineEdit::Password);
            input->setTextValue(typed);
            input->done(result);
        });
    }
};

TEST_F(UpdateGuards, ThePasswordIsAskedFor) {
    Put(kFile, Record(0x8));
    Open();
    SetDatabaseAnswers("1 1 1 1001");
    ModalDriver user;
    ExpectPassword(user, "wrong", QDialog::Accepted);
    user.ExpectMessage(QMessageBox::Warning, "Corvane", "Invalid password");
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
    EXPECT_FALSE(Find<QAbstractButton>("btnUpdate").isChecked());

    ExpectPassword(user, "secret", QDialog::Rejected);
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);

    SetDatabaseAnswers("0 0 1 1000");
    user.ExpectMessage(QMessageBox::Warning, "Corvane",
                       "Unable to read the settings, Please try again.");
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);

    SetDatabaseAnswers("1 1 1 1000");
    ExpectPassword(user, "secret", QDialog::Accepted);
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
    ExpectQuestion(user, QMessageBox::Cancel);
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
    ExpectQuestion(user, QMessageBox::Cancel);
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kSettingsPage);
    EXPECT_FALSE(Find<QAbstractButton>("btnUpdate").isChecked());
    ExpectQuestion(user, QMessageBox::No);
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
    ExpectQuestion(user, QMessageBox::Yes);
    Click("btnScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
    EXPECT_EQ(Get(kFile), Record(0x2));
    EXPECT_EQ(Shown(), "internet");
}

TEST_F(UpdateGuards, LeavingWithYesStaysWhenApplyingFails) {
    OpenPage(Record(0x8));
    FromPath().click();
    ModalDriver user;
    ExpectQuestion(user, QMessageBox::Yes);
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
    ExpectQuestion(user, QMessageBox::Yes);
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
    ExpectQuestion(user, QMessageBox::No);
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
        ExpectQuestion(user, QMessageBox::Cancel);
        Click(button);
        EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage) << button;
        EXPECT_TRUE(Find<QAbstractButton>("btnUpdate").isChecked()) << button;
        EXPECT_FALSE(Find<QAbstractButton>(button).isChecked()) << button;
    }
    EXPECT_EQ(Shown(), "internet *");
    ModalDriver user;
    ExpectQuestion(user, QMessageBox::Cancel);
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    ExpectQuestion(user, QMessageBox::No);
    EXPECT_TRUE(window.close());
    EXPECT_EQ(Get(kFile), Record(0x8));
}

}  // namespace
