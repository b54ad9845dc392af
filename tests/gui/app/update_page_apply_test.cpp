// Applying the update page: what is written and who is told, what is refused, and in which order.

#include "tests/gui/app/update_page_fixture.h"
#include "tests/support/no_room.h"

namespace {

namespace fs = std::filesystem;

constexpr char kSection[] = "/usr/lib/Corvane/Corvane/section.ini";
constexpr char kPrivileges[] =
    "Bad or Missing Configuration, or you do not have sufficient privileges";
constexpr uid_t kNobody = 65534;

class ApplyUpdates : public UpdatePageTest {
protected:
    void ExpectNothingDone(const std::string& record) {
        EXPECT_EQ(Get(kFile), record);
        EXPECT_EQ(ServiceCalls(), "");
        EXPECT_EQ(StatusCalls(), "");
    }
};

TEST_F(ApplyUpdates, WritesTheRecordStartsTheServiceAndTells) {
    dlgMain& window = OpenPage(Record(0x8));
    Internet().click();
    Automatic().click();
    fs::permissions(PathOf(kFile), fs::perms(0600));
    EXPECT_TRUE(window.OnApplyOptClick());
    EXPECT_EQ(Get(kFile), Record(0x3));
    EXPECT_EQ(Mode(kFile), 0666);
    EXPECT_EQ(Shown(), "automatic internet");
    EXPECT_EQ(ServiceCalls(), "/etc/init.d/rapidupdate start\n");
    EXPECT_EQ(StatusCalls(), OneStatusCall());
}

TEST_F(ApplyUpdates, TheFileIsWrittenBeforeTheServiceStartsAndOthersAreToldAfterIt) {
    OpenPage(Record(0x8));
    const std::string folder = PathOf("").string();
    WriteFile(kScript, "#!/bin/sh\ncd '" + folder +
                           "'\ncp zqupdate.opt found.opt\n"
                           "if [ -e status.log ]; then cp status.log found.log; fi\n");
    Internet().click();
    Click("btnApplyUpd");
    EXPECT_EQ(Get("found.opt"), Record(0x2));
    EXPECT_EQ(Get("found.log"), std::nullopt);
    EXPECT_EQ(StatusCalls(), OneStatusCall());
}

TEST_F(ApplyUpdates, EveryChoiceIsWritten) {
    const std::string updates = PathOf("updates").string();
    const std::string backup = PathOf("backup").string();
    fs::create_directory(updates);
    fs::create_directory(backup);
    OpenPage(Record(0x3));
    Automatic().click();
    Server().click();
    Click("btnApplyUpd");
    EXPECT_EQ(Get(kFile), Record(0x8));
    EXPECT_EQ(ServiceCalls(), "/etc/init.d/rapidupdate stop\n");
    FromPath().click();
    PathEdit().setText(QString::fromStdString(updates));
    Click("btnApplyUpd");
    EXPECT_EQ(Get(kFile), Record(0x0, updates));
    Backup().click();
    BackupEdit().setText(QString::fromStdString(backup));
    Click("btnApplyUpd");
    EXPECT_EQ(Get(kFile), Record(0x4, updates, backup));
    Internet().click();
    Click("btnApplyUpd");
    EXPECT_EQ(Get(kFile), Record(0x6, "", backup)) << "no path but for updates from one";
    Backup().click();
    Click("btnApplyUpd");
    EXPECT_EQ(Get(kFile), Record(0x2));
}

TEST_F(ApplyUpdates, TheRestOfTheRecordIsMadeAnew) {
    Put(kFile, "");
    std::string record = Record(0x8, "old path", "old folder");
    record[4] = 7;
    OpenPage(record);
    Internet().click();
    Click("btnApplyUpd");
    EXPECT_EQ(Get(kFile), Record(0x2));
}

TEST_F(ApplyUpdates, TheScriptOfTheInnerFolderComesFirst) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "the folder of scripts is only made in a private root";
    }
    OpenPage(Record(0x8));
    fs::create_directories("/etc/init.d/rc.d");
    InstallScript("/etc/init.d/rc.d/rapidupdate");
    Internet().click();
    Click("btnApplyUpd");
    fs::remove_all("/etc/init.d/rc.d");
    EXPECT_EQ(ServiceCalls(), "/etc/init.d/rc.d/rapidupdate stop\n");
}

TEST_F(ApplyUpdates, SucceedsWithoutAScript) {
    dlgMain& window = OpenPage(Record(0x8));
    fs::remove(kScript);
    Internet().click();
    EXPECT_TRUE(window.OnApplyOptClick());
    EXPECT_EQ(Get(kFile), Record(0x2));
}

TEST_F(ApplyUpdates, WithoutTheStatusLibraryItSaysNoThoughAllIsDone) {
    dlgMain& window = OpenPage(Record(0x8));
    fs::remove("/usr/lib/Corvane/Corvane/scansts.so");
    Internet().click();
    EXPECT_FALSE(window.OnApplyOptClick());
    EXPECT_EQ(Get(kFile), Record(0x2));
    EXPECT_EQ(Shown(), "internet");
    EXPECT_EQ(ServiceCalls(), "/etc/init.d/rapidupdate stop\n");
}

TEST_F(ApplyUpdates, OnlyRootMay) {
    const PretendedUser nobody(kNobody);
    WriteFile(kSection, "[FEATURE_GUID]\nFID_8=kept\n");
    dlgMain& window = OpenPage(Record(0x8));
    FromPath().click();
    Put(kFile, Record(0x3));
    ModalDriver user;
    user.Expect([this](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->windowTitle(), "Rapid Update");
        EXPECT_EQ(box->text(), "You do not have sufficient privileges.");
        EXPECT_EQ(Shown(), "automatic internet") << "loaded again before that is said";
        box->accept();
    });
    EXPECT_FALSE(window.OnApplyOptClick());
    ExpectNothingDone(Record(0x3));
    EXPECT_EQ(ReadFile(kSection), "[FEATURE_GUID]\nFID_8=kept\n");
}

TEST_F(ApplyUpdates, TheFeatureIsForgotten) {
    WriteFile(kSection, "[FEATURE_GUID]\nFID_7=seven\nFID_8=eight\nFID_80=eighty\n");
    OpenPage(Record(0x8));
    Internet().click();
    Click("btnApplyUpd");
    EXPECT_EQ(ReadFile(kSection), "[FEATURE_GUID]\nFID_7=seven\nFID_8=\nFID_80=eighty\n");
}

TEST_F(ApplyUpdates, TheFeatureIsForgottenBeforeAnythingIsRefused) {
    WriteFile(kSection, "[FEATURE_GUID]\nFID_8=eight\n");
    OpenPage(Record(0x8));
    FromPath().click();
    ModalDriver user;
    ExpectCritical(user, "Corvane", "Please provide the path.");
    Click("btnApplyUpd");
    EXPECT_EQ(ReadFile(kSection), "[FEATURE_GUID]\nFID_8=\n");
}

TEST_F(ApplyUpdates, WhatCannotBeRightIsRefusedAndThePageStays) {
    const QString folder = QString::fromStdString(PathOf("").string());
    WriteFile(PathOf("file").string(), "");
    const struct {
        QString path;
        QString backup;
        const char* message;
    } kEntries[] = {
        {"", folder, "Please provide the path."},
        {"", "", "Please provide the path."},
        {folder + "none", folder, "Please Provide the valid path."},
        {folder + "file", "", "Please Provide the valid path."},
        {"reports", folder, "Please Provide the valid path."},
        {folder, "", "Provide the path to store update backup."},
        {folder, folder + "none", "Please provide the valid path."},
        {folder, folder + "file", "Please provide the valid path."},
        {folder, ".", "Please provide the valid path."},
        {folder + QString(300, '/'), folder,
         "The name of the folder is longer than 255 bytes. Nothing was saved."},
        {folder, folder + QString(300, '/'),
         "The name of the folder is longer than 255 bytes. Nothing was saved."},
    };
    dlgMain& window = OpenPage(Record(0x8));
    for (const auto& each : kEntries) {
        FromPath().click();
        Backup().setChecked(true);
        PathEdit().setText(each.path);
        BackupEdit().setText(each.backup);
        const std::string before = Shown();
        ModalDriver user;
        ExpectCritical(user, "Corvane", each.message);
        EXPECT_FALSE(window.OnApplyOptClick());
        EXPECT_EQ(Shown(), before) << each.message;
        EXPECT_TRUE(Apply().isEnabled());
    }
    ExpectNothingDone(Record(0x8));
}

TEST_F(ApplyUpdates, APathOf255BytesIsWrittenWhole) {
    std::string path = PathOf("").string();
    path.append(255 - path.size(), '/');
    OpenPage(Record(0x8));
    FromPath().click();
    PathEdit().setText(QString::fromStdString(path));
    Click("btnApplyUpd");
    EXPECT_EQ(Get(kFile), Record(0x0, path));
}

TEST_F(ApplyUpdates, AFolderThatIsNoUtf8KeepsItsBytes) {
    const std::string folder = PathOf("caf\xE9").string();
    fs::create_directory(folder);
    OpenPage(Record(0x4, folder, folder));
    Automatic().click();
    Click("btnApplyUpd");
    EXPECT_EQ(Get(kFile), Record(0x5, folder, folder));

    FromPath().click();
    PathEdit().setText(QString::fromStdString(PathOf("").string()) + "caf" + QChar(0xE9));
    ModalDriver user;
    ExpectCritical(user, "Corvane", "Please Provide the valid path.");
    Click("btnApplyUpd");
    EXPECT_EQ(Get(kFile), Record(0x5, folder, folder)) << "typed, it is another folder";
}

TEST_F(ApplyUpdates, NeverMakesTheFileButReloadingDoes) {
    dlgMain& window = OpenPage(Record(0x3));
    fs::remove(PathOf(kFile));
    Automatic().click();
    ModalDriver user;
    user.Expect([this](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->windowTitle(), "Rapid Update");
        EXPECT_EQ(box->text(), kPrivileges);
        EXPECT_FALSE(Get(kFile).has_value()) << "made when it is loaded again, not before";
        EXPECT_FALSE(Apply().isEnabled());
        box->accept();
    });
    EXPECT_FALSE(window.OnApplyOptClick());
    EXPECT_EQ(Get(kFile), Record(0x8));
    EXPECT_EQ(Shown(), "server");
    EXPECT_EQ(ServiceCalls(), "");
    EXPECT_EQ(StatusCalls(), "");
}

TEST_F(ApplyUpdates, AFullDiskIsSaidAndTheStoredOptionsHold) {
    OpenPage(Record(0x3));
    Automatic().click();
    Server().click();
    auto none = std::make_unique<NoRoom>();
    ModalDriver user;
    user.Expect([&none](QDialog* dialog) {
        none.reset();
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->windowTitle(), "Rapid Update");
        EXPECT_EQ(box->text(), "Bad or Missing Configuration.");
        box->accept();
    });
    Click("btnApplyUpd");
    EXPECT_EQ(Get(kFile), Record(0x3));
    EXPECT_EQ(Mode(kFile), 0666);
    EXPECT_EQ(Shown(), "automatic internet");
    EXPECT_EQ(ServiceCalls(), "/etc/init.d/rapidupdate start\n") << "as the stored options say";
    EXPECT_EQ(StatusCalls(), OneStatusCall());
}

}  // namespace
