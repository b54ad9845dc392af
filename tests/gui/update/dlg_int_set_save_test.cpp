// What the internet settings save, what they refuse, and what they do when they cannot.

#include "tests/gui/update/dlg_int_set_fixture.h"
#include "tests/support/no_room.h"

namespace {

constexpr char kCaption[] = "Internet settings";
constexpr char kInvalid[] = "Provide the valid proxy server configuration";

TEST_F(IntSet, OkSavesEveryField) {
    Open();
    Fill("socks5://proxy.example.org", "1080");
    Authentication().click();
    User().setText("jo");
    Password().setText("secret");
    Click("btnOk");
    EXPECT_EQ(m_dialog->result(), QDialog::Accepted);
    EXPECT_FALSE(IsOpen());
    EXPECT_EQ(Settings(), (InetRecord{.server = "socks5://proxy.example.org",
                                      .user = "jo",
                                      .password = "secret",
                                      .authenticate = 1}
                               .Bytes()));
    EXPECT_EQ(ModeOf(m_scratch / "zqinet.opt"), 0666U);
    EXPECT_EQ(PkillCalls(), "-SIGHUP websecd\n");
}

TEST_F(IntSet, EveryKindOfServerIsSavedAsItWasTyped) {
    for (const char* server : {"proxy", "10.0.0.1", "socks5h://p", "http://p", "https://p"}) {
        Open();
        Fill(server, "1080");
        Click("btnOk");
        EXPECT_EQ(Settings(), InetRecord{.server = server}.Bytes());
    }
}

TEST_F(IntSet, WithoutTheProxyEverythingIsForgotten) {
    PutSettings(InetRecord{.user = "jo", .password = "secret", .authenticate = 1}.Bytes());
    Open();
    Server().setText("another.example.org");
    UseProxy().click();
    Click("btnOk");
    EXPECT_EQ(m_dialog->result(), QDialog::Accepted);
    EXPECT_EQ(Settings(), std::string(788, '\0'));
}

TEST_F(IntSet, WithoutAuthenticationUserAndPasswordAreForgotten) {
    PutSettings(InetRecord{.user = "jo", .password = "secret", .authenticate = 1}.Bytes());
    Open();
    Authentication().click();
    Click("btnOk");
    EXPECT_EQ(Settings(), InetRecord{}.Bytes());
}

TEST_F(IntSet, AnEmptyPasswordIsAccepted) {
    Open();
    Fill("proxy.example.org", "1080");
    Authentication().click();
    User().setText("jo");
    Click("btnOk");
    EXPECT_EQ(m_dialog->result(), QDialog::Accepted);
    EXPECT_EQ(Settings(), (InetRecord{.user = "jo", .authenticate = 1}.Bytes()));
}

TEST_F(IntSet, WhatCannotBeRightIsRefused) {
    PutSettings(std::string(788, '\0'));
    Open();
    const struct {
        const char* server;
        const char* port;
        bool authentication;
        QString user;
    } kEntries[] = {
        {"", "1080", false, ""},     {"proxy", "", false, ""},
        {"proxy", "1080", true, ""}, {"", "", true, ""},
        {"proxy", "-1", false, ""},  {"proxy", "65536", false, ""},
        {"proxy", "80x", false, ""}, {"proxy", "1080", true, QString(130, QChar(0xE9))},
    };
    for (const auto& each : kEntries) {
        Fill(each.server, each.port);
        Authentication().setChecked(each.authentication);
        User().setText(each.user);
        ModalDriver user;
        user.Expect([this](QDialog* box) {
            EXPECT_EQ(box->parentWidget(), m_dialog.get());
            EXPECT_EQ(box->windowTitle(), kCaption);
            EXPECT_EQ(qobject_cast<QMessageBox*>(box)->text(), kInvalid);
            EXPECT_EQ(qobject_cast<QMessageBox*>(box)->icon(), QMessageBox::Critical);
            box->accept();
        });
        Click("btnOk");
        EXPECT_TRUE(IsOpen()) << each.server << ':' << each.port;
    }
    EXPECT_EQ(Settings(), std::string(788, '\0'));
    EXPECT_EQ(PkillCalls(), "");
}

TEST_F(IntSet, NothingIsRefusedWithoutTheProxy) {
    Open();
    Fill("", "");
    UseProxy().setChecked(false);
    Click("btnOk");
    EXPECT_EQ(m_dialog->result(), QDialog::Accepted);
}

TEST_F(IntSet, ALongServerIsCutBetweenItsCharacters) {
    Open();
    Fill(QString(258, 's') + QChar(0xE9), "1080");
    Click("btnOk");
    EXPECT_EQ(Settings(), InetRecord{.server = std::string(258, 's')}.Bytes());
    Open();
    Fill(QString(400, 's'), "1080");
    Click("btnOk");
    EXPECT_EQ(Settings(), InetRecord{.server = std::string(259, 's')}.Bytes());
}

TEST_F(IntSet, WhatIsLeftAloneKeepsItsBytes) {
    const InetRecord record{.server = "pr\xF6xy",
                            .user = std::string(250, 'u'),
                            .password = "p\xE4ss\x01" + std::string(60, 'w'),
                            .authenticate = 1};
    PutSettings(record.Bytes());
    Open();
    Click("btnOk");
    EXPECT_EQ(Settings(), record.Bytes());
    Open();
    Server().setText(QString::fromUtf8("pr\xC3\xB6xy"));
    Click("btnOk");
    InetRecord edited = record;
    edited.server = "pr\xC3\xB6xy";
    EXPECT_EQ(Settings(), edited.Bytes());
}

TEST_F(IntSet, CancelAndEscapeSaveNothing) {
    PutSettings(InetRecord{}.Bytes());
    Open();
    Server().setText("other");
    Click("btnCancel");
    EXPECT_EQ(m_dialog->result(), QDialog::Rejected);
    EXPECT_FALSE(IsOpen());
    Open();
    Server().setText("other");
    QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
    EXPECT_FALSE(IsOpen());
    EXPECT_EQ(Settings(), InetRecord{}.Bytes());
    EXPECT_EQ(PkillCalls(), "");
}

TEST_F(IntSet, AFullDiskIsTold) {
    PutSettings(InetRecord{}.Bytes());
    WriteFile(kExclusionFile, "0");
    WriteFile(kIdentifierFile, "identifier");
    Open();
    UseProxy().click();
    auto none = std::make_unique<NoRoom>();
    ModalDriver user;
    user.Expect([&none](QDialog* dialog) {
        none.reset();
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->parentWidget(), nullptr);
        EXPECT_EQ(box->icon(), QMessageBox::Critical);
        EXPECT_EQ(box->windowTitle(), kCaption);
        EXPECT_EQ(box->text(), "Bad or Missing Configuration.");
        box->accept();
    });
    Click("btnOk");
    EXPECT_EQ(m_dialog->result(), QDialog::Rejected);
    EXPECT_FALSE(IsOpen());
    EXPECT_EQ(Settings(), InetRecord{}.Bytes());
    EXPECT_EQ(ReadFile(kIdentifierFile), "identifier");
    EXPECT_EQ(PkillCalls(), "");
}

TEST_F(IntSet, AFileThatCannotBeOpenedIsTold) {
    Open();
    std::filesystem::remove(m_scratch / "zqinet.opt");
    std::filesystem::create_directory(m_scratch / "zqinet.opt");
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Critical, kCaption, "Bad or Missing Configuration.");
    Click("btnOk");
    EXPECT_EQ(m_dialog->result(), QDialog::Rejected);
    EXPECT_EQ(PkillCalls(), "");
}

TEST_F(IntSet, AFileDeletedMeanwhileIsMadeAgain) {
    Open();
    std::filesystem::remove(m_scratch / "zqinet.opt");
    Fill("proxy.example.org", "1080");
    Click("btnOk");
    EXPECT_EQ(Settings(), InetRecord{}.Bytes());
    EXPECT_EQ(ModeOf(m_scratch / "zqinet.opt"), 0666U);
}

TEST_F(IntSet, SavingRenewsTheIdentifierUnlessItIsToStay) {
    const ModalDriver user;  // nothing is asked
    for (const auto& [exclusion, identifier] :
         {std::pair("0", "0"), std::pair("1", "identifier")}) {
        WriteFile(kIdentifierFile, "identifier");
        WriteFile(kExclusionFile, exclusion);
        Open();
        Click("btnOk");
        EXPECT_EQ(ReadFile(kIdentifierFile), identifier);
    }
    EXPECT_EQ(PkillCalls(), "-SIGHUP websecd\n-SIGHUP websecd\n");
}

TEST_F(IntSet, TheIdentifierIsRenewedBeforeWebProtectionIsTold) {
    WriteFile(kExclusionFile, "0");
    WriteFile(kIdentifierFile, "identifier");
    PutProgram("bin/pkill",
               std::string("cat ") + kIdentifierFile + " >'" + m_scratch / "found" + "'\n");
    Open();
    Click("btnOk");
    EXPECT_EQ(ReadFile(m_scratch / "found"), "0");
}

}  // namespace
