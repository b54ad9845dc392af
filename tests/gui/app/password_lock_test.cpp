// The password in front of the settings page and the update page: every answer of the settings
// database.

#include <fstream>

#include <QTest>

#include "tests/gui/app/window_fixture.h"
#include "tests/support/expected_questions.h"
#include "tests/support/screen_reader.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ContainsRegex;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kLibrary[] = "/usr/lib/Corvane/Corvane/libdbmod.so";
constexpr char kUnreadable[] = "Unable to read the settings, Please try again.";

// Answers of the database: reading result, "password set", check result, outcome code.
constexpr char kNoPassword[] = "1 0 1 1001";
constexpr char kAccepted[] = "1 1 1 1000";
constexpr char kRefused[] = "1 1 1 1001";

bool IsLibraryLoaded() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("/libdbmod.so") != std::string::npos) {
            return true;
        }
    }
    return false;
}

class Password : public WindowTest {
protected:
    static void ExpectWarning(ModalDriver& user, const QString& text) {
        user.ExpectMessage(QMessageBox::Warning, "Corvane", text);
    }
    void ExpectRefused() {
        EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
        EXPECT_TRUE(Find<QAbstractButton>("btnScan").isChecked());
        EXPECT_FALSE(Find<QAbstractButton>("btnOptions").isChecked());
        EXPECT_FALSE(IsLibraryLoaded());
    }
    void ExpectOpened() {
        EXPECT_EQ(CurrentPage(), dlgMain::kSettingsPage);
        EXPECT_TRUE(Find<QAbstractButton>("btnOptions").isChecked());
        EXPECT_TRUE(IsLibraryLoaded());
    }
};

TEST_F(Password, LibraryMissing) {
    fs::remove(kLibrary);
    Open();
    ModalDriver user;
    ExpectWarning(
        user, QString(kLibrary) + ": cannot open shared object file: No such file or directory");
    Click("btnOptions");
    ExpectRefused();
}

TEST_F(Password, EntryPointMissing) {
    const std::pair<const char*, const char*> kVariants[] = {
        {"without_get", "AvGetClientSettingData"}, {"without_verify", "AvVerfiyPassword"}};
    Open();
    for (const auto& [variant, symbol] : kVariants) {
        InstallDatabase(variant);
        ModalDriver user;
        ExpectWarning(user, QString(kLibrary) + ": undefined symbol: " + symbol);
        Click("btnOptions");
        ExpectRefused();
    }
    EXPECT_THAT(DatabaseCalls(), IsEmpty());
}

TEST_F(Password, SettingUnreadable) {
    SetDatabaseAnswers("0 0 1 1000");
    Open();
    ModalDriver user;
    ExpectWarning(user, kUnreadable);
    Click("btnOptions");
    ExpectRefused();
    EXPECT_THAT(DatabaseCalls(), ElementsAre("get 14 1"));
}

TEST_F(Password, NoneSet) {
    SetDatabaseAnswers(kNoPassword);
    Open();
    ModalDriver user;
    Click("btnOptions");
    ExpectOpened();
    EXPECT_THAT(DatabaseCalls(), ElementsAre("get 14 1"));
}

TEST_F(Password, OnlyOneMeansSet) {
    SetDatabaseAnswers("1 2 1 1001");
    Open();
    ModalDriver user;
    Click("btnOptions");
    ExpectOpened();
}

TEST_F(Password, Cancelled) {
    SetDatabaseAnswers(kAccepted);
    Open();
    ModalDriver user;
    ExpectPasswordQuestion(user, "secret", QDialog::Rejected);
    Click("btnOptions");
    ExpectRefused();
    EXPECT_THAT(DatabaseCalls(), ElementsAre("get 14 1"));
}

TEST_F(Password, Empty) {
    SetDatabaseAnswers(kAccepted);
    Open();
    ModalDriver user;
    ExpectPasswordQuestion(user, "", QDialog::Accepted);
    ExpectWarning(user, "Invalid password");
    Click("btnOptions");
    ExpectRefused();
    EXPECT_THAT(DatabaseCalls(), ElementsAre("get 14 1"));
}

TEST_F(Password, Accepted) {
    SetDatabaseAnswers(kAccepted);
    Open();
    ModalDriver user;
    ExpectPasswordQuestion(user, QString::fromUtf8("gehe\xc3\xafm "), QDialog::Accepted);
    Click("btnOptions");
    ExpectOpened();
    EXPECT_THAT(DatabaseCalls(), ElementsAre("get 14 1", "verify gehe\xc3\xafm "));
}

TEST_F(Password, IsNotTalkedAboutWhileItIsTyped) {
    SetDatabaseAnswers(kAccepted);
    Open();
    ScreenReader reader;
    ModalDriver user;
    user.Expect([](QDialog* dialog) {
        auto* const line = dialog->findChild<QLineEdit*>();
        ASSERT_NE(line, nullptr);
        QTest::keyClicks(line, "Q#~");
        QTest::keyClick(line, Qt::Key_Return);
    });
    Click("btnOptions");
    EXPECT_THAT(DatabaseCalls(), ElementsAre("get 14 1", "verify Q#~"));
    // The line of the toolkit's own dialog has no name.
    EXPECT_THAT(reader.TakeTypedTexts(), ElementsAre(" at 0: +*", " at 1: +*", " at 2: +*"));
    // Nothing else that may be announced meanwhile has one of these.
    EXPECT_THAT(reader.TakeAnnouncements(), Each(Not(ContainsRegex("[Q#~]"))));
}

TEST_F(Password, Refused) {
    SetDatabaseAnswers(kRefused);
    Open();
    ModalDriver user;
    ExpectPasswordQuestion(user, "wrong", QDialog::Accepted);
    ExpectWarning(user, "Invalid password");
    Click("btnOptions");
    ExpectRefused();
}

TEST_F(Password, CheckFailed) {
    SetDatabaseAnswers("1 1 0 1000");
    Open();
    ModalDriver user;
    ExpectPasswordQuestion(user, "secret", QDialog::Accepted);
    ExpectWarning(user, kUnreadable);
    Click("btnOptions");
    ExpectRefused();
}

TEST_F(Password, OtherOutcomeDoesNothing) {
    SetDatabaseAnswers("1 1 1 1002");
    Open();
    ModalDriver user;
    ExpectPasswordQuestion(user, "secret", QDialog::Accepted);
    Click("btnOptions");
    ExpectRefused();
}

TEST_F(Password, NothingOfItIsLeft) {
    const struct {
        const char* answers;
        int result;
        std::vector<std::string> calls;
    } kEnds[] = {
        {"1 1 1 1002", QDialog::Accepted, {"get 14 1", "verify secret"}},
        {"1 1 1 1002", QDialog::Rejected, {"get 14 1", "verify secret", "get 14 1"}},
    };
    Open();
    for (const auto& end : kEnds) {
        SetDatabaseAnswers(end.answers);
        QString typed;
        ModalDriver user;
        user.Expect([&](QDialog* dialog) {
            auto* line = dialog->findChild<QLineEdit*>();
            QTest::keyClicks(line, "secret");
            typed = line->text();  // the line's own characters, shared
            EXPECT_EQ(typed, "secret");
            dialog->done(end.result);
        });
        Click("btnOptions");
        EXPECT_EQ(typed, QString(6, QChar(0)));
        EXPECT_EQ(DatabaseCalls(), end.calls) << "the database had it";
    }
}

TEST_F(Password, LibraryStaysLoadedOnceThePageWasOpened) {
    SetDatabaseAnswers(kAccepted);
    Open();
    ModalDriver user;
    ExpectPasswordQuestion(user, "secret", QDialog::Accepted);
    Click("btnOptions");
    ExpectOpened();
    Click("btnScan");
    EXPECT_TRUE(IsLibraryLoaded());

    SetDatabaseAnswers(kRefused);
    ExpectPasswordQuestion(user, "wrong", QDialog::Accepted);
    ExpectWarning(user, "Invalid password");
    Click("btnOptions");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
    EXPECT_TRUE(IsLibraryLoaded());
}

/// A window whose update page holds unsaved settings.
class UnsettledWindow : public dlgMain {
public:
    bool ApplyNetSettingsOrNot() override { return false; }
};

TEST_F(Password, UnsavedUpdateSettingsLeadToTheUpdatePage) {
    SetDatabaseAnswers(kAccepted);
    Open<UnsettledWindow>();
    ModalDriver user;
    ExpectPasswordQuestion(user, "secret", QDialog::Accepted);
    ExpectPasswordQuestion(user, "secret", QDialog::Accepted);  // that page has the same lock
    Click("btnOptions");
    EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
    EXPECT_TRUE(Find<QAbstractButton>("btnUpdate").isChecked());
}

TEST_F(Password, NothingStaysLoadedWhenNeitherPageIsOpened) {
    SetDatabaseAnswers(kAccepted);
    Open<UnsettledWindow>();
    ModalDriver user;
    ExpectPasswordQuestion(user, "secret", QDialog::Accepted);
    ExpectPasswordQuestion(user, "secret", QDialog::Rejected);
    Click("btnOptions");
    ExpectRefused();
}

TEST_F(Password, TheUpdatePageKeepsItsLibraryOnlyOnceItIsOpened) {
    SetDatabaseAnswers(kAccepted);
    Open();
    ModalDriver user;
    ExpectPasswordQuestion(user, "secret", QDialog::Accepted);
    Click("btnUpdate");
    EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
    EXPECT_TRUE(IsLibraryLoaded());
}

/// A window whose scanner settings are not settled.
class UnsavedWindow : public dlgMain {
public:
    bool SaveOrNot() override { return false; }
};

TEST_F(Password, UnsavedScannerSettingsKeepTheUpdatePageShut) {
    SetDatabaseAnswers(kAccepted);
    Open<UnsavedWindow>();
    ModalDriver user;
    ExpectPasswordQuestion(user, "secret", QDialog::Accepted);
    Click("btnUpdate");
    ExpectRefused();
}

}  // namespace
