// Who gets to see the password of the proxy server: whoever may read the settings, and nobody else.

#include <gmock/gmock.h>

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>

#include "tests/gui/update/dlg_int_set_fixture.h"
#include "tests/support/screen_reader.h"
#include "widgets/masked_typing.h"

namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr char kPassword[] = "Xk7-qZ";

class IntSetPassword : public IntSet {
protected:
    void OpenWithIt() {
        PutSettings(
            InetRecord{.user = "jo-anne", .password = kPassword, .authenticate = 1}.Bytes());
        Open();
        ASSERT_EQ(Password().text(), kPassword);
    }

    // Those that hold the password, of what the program and its helpers may write to.
    static std::vector<std::string> FilesWithIt() {
        std::vector<std::string> found;
        const auto look = [&](const fs::directory_entry& entry) {
            if (entry.is_regular_file() && !entry.is_symlink() &&
                ReadFile(entry.path().string()).find(kPassword) != std::string::npos) {
                found.push_back(entry.path().string());
            }
        };
        for (const auto& entry : fs::directory_iterator("/")) {
            look(entry);
        }
        for (const std::string folder : {"/tmp", "/var/tmp", "/var/log", "/var/lib/corvane",
                                         "/var/cache/corvane", "/usr/lib/Corvane", "/dev/shm"}) {
            std::error_code ignored;
            const auto denied = fs::directory_options::skip_permission_denied;
            for (fs::recursive_directory_iterator entry(folder, denied, ignored), end; entry != end;
                 entry.increment(ignored)) {
                look(*entry);
            }
        }
        return found;
    }
};

TEST_F(IntSetPassword, IsMaskedOnTheScreenWhetherStoredOrTyped) {
    const auto isMasked = [this] {
        return Password().echoMode() == QLineEdit::Password &&
               Password().displayText() == QString(6, Password().displayText().at(0)) &&
               (Password().inputMethodHints() & Qt::ImhHiddenText) != 0;
    };
    OpenWithIt();
    EXPECT_TRUE(isMasked());
    Password().clear();
    QTest::keyClicks(&Password(), kPassword);
    EXPECT_EQ(Password().text(), kPassword);
    EXPECT_TRUE(isMasked());
    Authentication().click();
    EXPECT_TRUE(isMasked()) << "also when it is not asked for";
}

TEST_F(IntSetPassword, CannotBeCopiedOut) {
    OpenWithIt();
    QClipboard& clipboard = *QGuiApplication::clipboard();
    const auto copied = [&](QLineEdit& line, const QKeySequence::StandardKey key) {
        clipboard.setText("before");
        line.setFocus();
        line.selectAll();
        QTest::keySequence(&line, QKeySequence(key));
        return clipboard.text();
    };
    ASSERT_EQ(copied(User(), QKeySequence::Copy), "jo-anne");
    EXPECT_EQ(copied(Password(), QKeySequence::Copy), "before");
    EXPECT_EQ(copied(Password(), QKeySequence::Cut), "before");
}

TEST_F(IntSetPassword, IsNotToldToWhoeverAsksOnTheAccessibilityBus) {
    OpenWithIt();
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(&Password())->state().passwordEdit);
    const auto texts = ScreenReader::AllTexts(*m_dialog);
    EXPECT_THAT(texts, Contains("jo-anne"));
    EXPECT_THAT(texts, Each(Not(HasSubstr(kPassword))));
    Password().selectAll();
    EXPECT_THAT(ScreenReader::AllTexts(*m_dialog), Each(Not(HasSubstr(kPassword))));
}

TEST_F(IntSetPassword, IsNotTalkedAboutWhileItIsTyped) {
    OpenWithIt();
    const MaskedTyping masked;
    ScreenReader reader;
    User().clear();
    reader.TakeTypedTexts();
    QTest::keyClicks(&User(), "jo");
    EXPECT_THAT(reader.TakeTypedTexts(), ElementsAre("edtUser at 0: +j", "edtUser at 1: +o"));
    Password().clear();
    QTest::keyClicks(&Password(), kPassword);
    Password().selectAll();
    QTest::keyClick(&Password(), Qt::Key_Delete);
    const auto told = reader.TakeTypedTexts();
    EXPECT_THAT(told, Contains("edtPassword at 5: +*"));
    // Neither whole nor letter by letter, "-" apart, which says that something is taken out.
    for (const auto& heard : {told, reader.TakeAnnouncements()}) {
        for (const std::string& text : heard) {
            EXPECT_EQ(text.find_first_of("Xk7qZ", text.find(':')), std::string::npos) << text;
        }
    }
}

TEST_F(IntSetPassword, IsWrittenIntoTheSettingsAlone) {
    Open();
    Fill("proxy.example.org", "1080");
    Authentication().click();
    User().setText("jo-anne");
    Password().setText(kPassword);
    // The program that tests the connection says what it was started with, and reads no request.
    PutProgram("corvane-update",
               "{ echo \"$*\"; env; } >'" + m_scratch / "started" + "'\necho test ok\n");
    Click("btnTest");
    ASSERT_TRUE(
        QTest::qWaitFor([this] { return Find<QPushButton>("btnTest").isEnabled(); }, 60'000));
    ASSERT_THAT(ReadFile(m_scratch / "started"), HasSubstr("--test"));
    EXPECT_THAT(FilesWithIt(), ElementsAre());
    Click("btnCancel");
    EXPECT_THAT(FilesWithIt(), ElementsAre());
    m_dialog->show();
    Click("btnOk");
    EXPECT_EQ(m_dialog->result(), QDialog::Accepted);
    EXPECT_THAT(FilesWithIt(), ElementsAre(m_scratch / "zqinet.opt"));
}

}  // namespace
