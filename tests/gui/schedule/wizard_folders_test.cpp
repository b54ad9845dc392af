// The list of folders in the wizard: what gets into it and what does not.

#include <filesystem>
#include <sys/stat.h>

#include "tests/gui/schedule/wizard_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WizardFolders : public WizardTest {
protected:
    /// A folder that is there, as the picker hands it over.
    std::string Folder(const std::string& name) {
        std::filesystem::create_directories(m_scratch / name);
        return m_scratch / name + "/";
    }

    ScratchFolder m_scratch;
};

TEST_F(WizardFolders, PickedFoldersAreCheckedAndAppended) {
    const std::string a = Folder("a");
    const std::string b = Folder("b c");
    Open();
    AddFolders(a + ";" + b);
    EXPECT_THAT(Folders(), ElementsAre(a, b));
    EXPECT_EQ(Find<QListWidget>("lstScanLocation").currentRow(), 0);
    EXPECT_TRUE(IsEnabled("btnRemoveAll"));
    EXPECT_THAT(m_scheduler->TakeCalls(), ElementsAre("folder <" + a + ">", "folder <" + b + ">"));
    EXPECT_TRUE(g_SchFolders.empty());

    AddFolders(a);
    EXPECT_THAT(Folders(), ElementsAre(a, b, a)) << "twice, when it was picked twice";
}

TEST_F(WizardFolders, ACancelledPickerAddsNothing) {
    Open();
    ModalDriver user;
    user.Expect([](QDialog* dialog) { dialog->reject(); });
    Click("btnAddFolders");
    EXPECT_THAT(Folders(), IsEmpty());
    EXPECT_FALSE(IsEnabled("btnRemoveAll"));
    EXPECT_THAT(m_scheduler->TakeCalls(), IsEmpty());
}

TEST_F(WizardFolders, RefusedFoldersAreExplainedAndSkipped) {
    const std::string a = Folder("a");
    const std::string b = Folder("b");
    const QString shown = QString::fromStdString(a);
    const std::pair<const char*, QString> kRefusals[] = {
        {"1021", shown + " is not allowed. Enter full path."},
        {"1022", shown + " does not exist. Please enter valid path."},
        {"1023", shown + " is a file. Please enter directory path."},
        {"1101", "For directory " + shown + " permission denied. Enter valid path."},
        {"1102", shown + " contains a semicolon, is not valid UTF-8 or is too long. It cannot be "
                         "scanned at a scheduled time."},
        {"1000", shown + " cannot be scanned at a scheduled time (error 1000)."},
    };
    for (const auto& [code, text] : kRefusals) {
        m_scheduler->SetScript(std::string(a).append(" ").append(code));
        Open();
        ModalDriver user;
        ExpectPicker(user, std::string(a).append(";").append(b));
        ExpectWarning(user, text);
        Click("btnAddFolders");
        EXPECT_THAT(Folders(), ElementsAre(b)) << code;
    }
}

TEST_F(WizardFolders, TheCodeForAllOfThemEndsSilently) {
    const std::string a = Folder("a");
    const std::string b = Folder("b");
    const std::string c = Folder("c");
    m_scheduler->SetScript(b + " 1029");
    Open();
    AddFolders(a + ";" + b + ";" + c);
    EXPECT_THAT(Folders(), ElementsAre(a));
    EXPECT_TRUE(IsEnabled("btnRemoveAll"));
    EXPECT_EQ(Find<QListWidget>("lstScanLocation").currentRow(), 0);
    EXPECT_THAT(m_scheduler->TakeCalls(), ElementsAre("folder <" + a + ">", "folder <" + b + ">"));
}

// Nobody can read what is not there, root included, whatever the library says.
TEST_F(WizardFolders, AFolderThatTheUserCannotReadIsRefused) {
    const std::string a = Folder("a");
    Open();
    ModalDriver user;
    ExpectPicker(user, "/nonexistent/x/;" + a);
    ExpectWarning(user, "For directory /nonexistent/x/ permission denied. Enter valid path.");
    Click("btnAddFolders");
    EXPECT_THAT(Folders(), ElementsAre(a));
}

TEST_F(WizardFolders, TheHundredAndFirstIsRefusedAndEndsIt) {
    const std::string a = Folder("a");
    const std::string b = Folder("b");
    std::string ninetyNine = a;
    for (int i = 1; i < 99; ++i) {
        ninetyNine += ";" + a;
    }
    Open();
    AddFolders(ninetyNine);
    EXPECT_EQ(Folders().size(), 99U);
    m_scheduler->TakeCalls();
    ModalDriver user;
    ExpectPicker(user, b + ";" + a + ";" + a);
    ExpectWarning(user, "You cannot add more than 100 scan items.");
    Click("btnAddFolders");
    EXPECT_EQ(Folders().size(), 100U);
    EXPECT_EQ(Folders().back(), b);
    EXPECT_EQ(m_scheduler->TakeCalls().size(), 2U) << "the third is not looked at";
}

TEST_F(WizardFolders, RemoveTakesTheSelectedOne) {
    const std::string a = Folder("a");
    const std::string b = Folder("b");
    const std::string c = Folder("c");
    Open();
    AddFolders(a + ";" + b + ";" + c);
    m_wizard->OnScanLocationListClick(1);
    EXPECT_EQ(Find<QListWidget>("lstScanLocation").currentRow(), 1);
    Click("btnRemoveFolders");
    EXPECT_THAT(Folders(), ElementsAre(a, c));
    EXPECT_TRUE(IsEnabled("btnRemoveAll"));
}

TEST_F(WizardFolders, RemoveWithoutASelectionSaysSo) {
    const std::string a = Folder("a");
    Open();
    const auto expectHint = [this] {
        ModalDriver user;
        ExpectWarning(user, "Please select item from list to remove.");
        Click("btnRemoveFolders");
    };
    expectHint();
    AddFolders(a);
    Find<QListWidget>("lstScanLocation").clearSelection();
    expectHint();
    EXPECT_THAT(Folders(), ElementsAre(a));
    Find<QListWidget>("lstScanLocation").setCurrentRow(0);
    Click("btnRemoveFolders");
    EXPECT_THAT(Folders(), IsEmpty());
    EXPECT_FALSE(IsEnabled("btnRemoveAll"));
    expectHint();
}

TEST_F(WizardFolders, RemoveAllEmptiesTheList) {
    const std::string a = Folder("a");
    Open();
    AddFolders(a + ";" + a);
    Click("btnRemoveAll");
    EXPECT_THAT(Folders(), IsEmpty());
    EXPECT_FALSE(IsEnabled("btnRemoveAll"));
}

TEST_F(WizardFolders, ANameIsShownAsPlainTextAndHandedOnAsItIs) {
    const std::string odd = Folder("<img src=x>\xE2\x80\xAEtxt");
    Open();
    AddFolders(odd);
    EXPECT_THAT(Folders(), ElementsAre(m_scratch.Path() + "<img src=x>\\u202Etxt/"));
    EXPECT_FALSE(Find<QListWidget>("lstScanLocation").item(0)->toolTip().contains("<img"));
    GoToSummary();
    const std::vector<std::string> calls = [this] {
        ModalDriver user;
        user.ExpectMessage(QMessageBox::Information, "Schedule Scan",
                           "Schedule Scan task is added successfully.");
        Finish();
        return m_scheduler->TakeCalls("add");
    }();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_NE(calls[0].find(" [" + odd + "] "), std::string::npos);
}

}  // namespace
