// The internet settings: what is shown, what can be entered, and what belongs to what.

#include <gmock/gmock.h>

#include <QApplication>
#include <QIntValidator>
#include <QTranslator>

#include "tests/gui/update/dlg_int_set_fixture.h"
#include "tests/support/screen_reader.h"

namespace {

TEST_F(IntSet, TextsKeysAndToolTips) {
    Open();
    EXPECT_EQ(m_dialog->windowTitle(), "Internet Settings");
    EXPECT_EQ(m_dialog->objectName(), "dlgIntSet");
    EXPECT_EQ(
        Find<QLabel>("lblMessage").text(),
        "Change these settings only in case if your computer is connected to a SOCKS5 or "
        "Firewall protected Network or if you have any trouble while downloading from Corvane "
        "Internet Centre.");
    const struct {
        const char* name;
        const char* text;
        const char* key;
        const char* tooltip;
    } kButtons[] = {
        {"chkUseProxy", "&Use Proxy", "Alt+U", "Use proxy server (Alt+U)"},
        {"chkAuthentication", "Authentication re&quired", "Alt+Q", "Enable authentication (Alt+Q)"},
        {"btnTest", "&Test", "Alt+T", "Test the connection (Alt+T)"},
        {"btnOk", "O&k", "Alt+K", "Ok (Alt+K)"},
        {"btnCancel", "&Cancel", "Alt+C", "Cancel (Alt+C)"},
    };
    for (const auto& each : kButtons) {
        const auto& button = Find<QAbstractButton>(each.name);
        EXPECT_EQ(button.text(), each.text);
        EXPECT_EQ(button.shortcut(), QKeySequence(each.key)) << each.name;
        EXPECT_EQ(button.toolTip(), each.tooltip);
    }
    const struct {
        const char* label;
        const char* text;
        const char* edit;
        const char* tooltip;
    } kEdits[] = {
        {"lblServer", "&Server", "edtServer", "Proxy server address (Alt+S)"},
        {"lblPort", "&Port", "edtPort", "Port (Alt+P)"},
        {"lblUser", "User&ID", "edtUser", "User name (Alt+I)"},
        {"lblPassword", "Pass&word", "edtPassword", "Password (Alt+W)"},
    };
    for (const auto& each : kEdits) {
        EXPECT_EQ(Find<QLabel>(each.label).text(), each.text);
        EXPECT_EQ(Find<QLabel>(each.label).buddy(), &Find<QWidget>(each.edit));
        EXPECT_EQ(Find<QWidget>(each.edit).toolTip(), each.tooltip);
    }
    EXPECT_EQ(Find<QWidget>("grpProxy").property("title"), "Proxy settings");
}

TEST_F(IntSet, TabGoesFromTheProxyToTheButtons) {
    PutSettings(InetRecord{.authenticate = 1}.Bytes());
    Open();
    QStringList order;
    const QWidget* widget = &UseProxy();
    do {
        if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget->isVisibleTo(m_dialog.get())) {
            order << widget->objectName();
        }
        widget = widget->nextInFocusChain();
    } while (widget != &UseProxy());
    EXPECT_EQ(order.join(' '),
              "chkUseProxy edtServer edtPort chkAuthentication edtUser edtPassword btnTest btnOk "
              "btnCancel");
    EXPECT_TRUE(Find<QPushButton>("btnOk").isDefault());
}

TEST_F(IntSet, AllThatCanBeReadIsReadOut) {
    Open();
    EXPECT_THAT(ScreenReader::UnreadableLabels(*m_dialog), ::testing::IsEmpty());
    for (const auto& [name, read] :
         {std::pair("edtServer", "Server"), std::pair("edtPort", "Port"),
          std::pair("edtUser", "UserID"), std::pair("edtPassword", "Password")}) {
        EXPECT_EQ(ScreenReader::NameOf(&Find<QWidget>(name)), read);
    }
    for (const QLabel* label : m_dialog->findChildren<QLabel*>()) {
        EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->objectName().toStdString();
    }
}

TEST_F(IntSet, FollowsTheLanguageWhileItIsOpen) {
    PutSettings(InetRecord{}.Bytes());
    Open();
    Server().setText("other.example.org");
    QTranslator german;
    ASSERT_TRUE(german.load(QStringLiteral(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm")));
    QApplication::installTranslator(&german);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(m_dialog->windowTitle(), "Internet-Einstellungen");
    EXPECT_EQ(UseProxy().text(), "Proxy ben&utzen");
    EXPECT_EQ(Server().text(), "other.example.org");
    EXPECT_TRUE(UseProxy().isChecked());
    QApplication::removeTranslator(&german);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(m_dialog->windowTitle(), "Internet Settings");
}

TEST_F(IntSet, AMissingFileIsMadeSilently) {
    Open();
    EXPECT_EQ(Settings(), std::string(788, '\0'));
    EXPECT_EQ(ModeOf(m_scratch / "zqinet.opt"), 0666U);
    EXPECT_FALSE(UseProxy().isChecked());
    EXPECT_EQ(Server().text(), "");
    EXPECT_EQ(Port().text(), "");
}

TEST_F(IntSet, ShowsWhatIsStored) {
    PutSettings(InetRecord{.server = "socks5h://proxy.example.org",
                           .port = std::string("\xFF\xFF", 2),
                           .user = "jo",
                           .password = "secret",
                           .authenticate = 1}
                    .Bytes());
    Open();
    EXPECT_TRUE(UseProxy().isChecked());
    EXPECT_TRUE(Authentication().isChecked());
    EXPECT_EQ(Server().text(), "socks5h://proxy.example.org");
    EXPECT_EQ(Port().text(), "65535");
    EXPECT_EQ(User().text(), "jo");
    EXPECT_EQ(Password().text(), "secret");
    EXPECT_EQ(Password().echoMode(), QLineEdit::Password);
}

TEST_F(IntSet, PortZeroIsShownAsNone) {
    PutSettings(InetRecord{.port = std::string(2, '\0')}.Bytes());
    Open();
    EXPECT_EQ(Port().text(), "");
    EXPECT_EQ(Server().text(), "proxy.example.org");
}

TEST_F(IntSet, WhatBelongsToTheProxyFollowsItsBoxes) {
    const auto isServerOn = [this] {
        EXPECT_EQ(Find<QLabel>("lblServer").isEnabled(), Server().isEnabled());
        EXPECT_EQ(Find<QLabel>("lblPort").isEnabled(), Server().isEnabled());
        EXPECT_EQ(Port().isEnabled(), Server().isEnabled());
        EXPECT_EQ(Authentication().isEnabled(), Server().isEnabled());
        return Server().isEnabled();
    };
    const auto isLoginOn = [this] {
        EXPECT_EQ(Find<QLabel>("lblUser").isEnabled(), User().isEnabled());
        EXPECT_EQ(Find<QLabel>("lblPassword").isEnabled(), User().isEnabled());
        EXPECT_EQ(Password().isEnabled(), User().isEnabled());
        return User().isEnabled();
    };
    Open();
    EXPECT_FALSE(isServerOn());
    EXPECT_FALSE(isLoginOn());
    UseProxy().click();
    EXPECT_TRUE(isServerOn());
    EXPECT_FALSE(isLoginOn()) << "nobody asks who one is";
    Authentication().click();
    EXPECT_TRUE(isLoginOn());
    UseProxy().click();
    EXPECT_FALSE(isServerOn());
    EXPECT_FALSE(isLoginOn());
    EXPECT_TRUE(Authentication().isChecked());
    UseProxy().click();
    EXPECT_TRUE(isServerOn());
    EXPECT_TRUE(isLoginOn());
    Authentication().click();
    EXPECT_FALSE(isLoginOn());
    EXPECT_TRUE(isServerOn());
}

TEST_F(IntSet, StoredBoxesEnableWhatBelongsToThem) {
    PutSettings(InetRecord{.useProxy = 0, .authenticate = 1}.Bytes());
    Open();
    EXPECT_TRUE(Authentication().isChecked());
    EXPECT_FALSE(Server().isEnabled());
    EXPECT_FALSE(User().isEnabled()) << "authentication without a proxy";
    PutSettings(InetRecord{}.Bytes());
    m_dialog->LoadInetOptions();
    EXPECT_TRUE(Server().isEnabled());
    EXPECT_FALSE(User().isEnabled());
}

TEST_F(IntSet, LinesTakeWhatFits) {
    Open();
    UseProxy().click();
    Authentication().click();
    QTest::keyClicks(&User(), QString(201, 'u'));
    EXPECT_EQ(User().text(), QString(200, 'u'));
    QTest::keyClicks(&Password(), QString(51, 'p'));
    EXPECT_EQ(Password().text(), QString(50, 'p'));
    QTest::keyClicks(&Port(), "-8.0x8,0");
    EXPECT_EQ(Port().text(), "8080");
    QTest::keyClicks(&Port(), "9");
    EXPECT_FALSE(Port().hasAcceptableInput()) << "80809 is no port";
    QTest::keyClicks(&Port(), "9");
    EXPECT_EQ(Port().text(), "80809");
    EXPECT_NE(qobject_cast<const QIntValidator*>(Port().validator()), nullptr);
}

TEST_F(IntSet, WhatWasStoredIsShownAsItIs) {
    PutSettings(InetRecord{.server = "<b>\xE9\n"}.Bytes());
    Open();
    EXPECT_EQ(Server().text(), "<b>\\xE9\\n");
}

}  // namespace
