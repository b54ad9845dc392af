// The test of a connection, with a script in the place of the program that does it.

#include "update/connection_test.h"

#include "tests/gui/update/dlg_int_set_fixture.h"

namespace {

using namespace std::chrono_literals;

constexpr char kProgram[] = "corvane-update";

class Connection : public IntSet {
protected:
    /// The program notes its argument and its request up to "go", and then does this.
    void Script(const std::string& then) const {
        PutProgram(kProgram, "echo \"$# $*\" >'" + m_scratch / "arguments" +
                                 "'\n"
                                 "while read -r line; do echo \"$line\"; [ \"$line\" != go ] || "
                                 "break; done >'" +
                                 m_scratch / "request" + "'\n" + then);
    }
    /// Presses Test and waits for the result.
    std::string Result() {
        Click("btnTest");
        EXPECT_FALSE(Find<QPushButton>("btnTest").isEnabled()) << "one test at a time";
        EXPECT_EQ(Said(), "The connection is being tested...");
        EXPECT_TRUE(
            QTest::qWaitFor([this] { return Find<QPushButton>("btnTest").isEnabled(); }, 20'000));
        return Said();
    }
    std::string Said() { return Find<QLabel>("lblTestResult").text().toStdString(); }
};

TEST_F(Connection, EveryAnswerIsSaidInWords) {
    Open();
    const std::string longReason = "test failed " + std::string(3000, 'x');
    const std::string longWords = "The test failed: " + std::string(160, 'x');
    const std::pair<const char*, const char*> kAnswers[] = {
        {"test ok", "The connection works."},
        {"test name-not-found", "The name of the server was not found."},
        {"test refused", "The server refused the connection."},
        {"test proxy-authentication",
         "The proxy server does not accept the user ID and password (error 407)."},
        {"test certificate", "The certificate of the server cannot be trusted."},
        {"test no-answer", "There was no answer within 10 seconds."},
        {"test failed disk full 100%25", "The test failed: disk full 100%"},
        {"test failed <b>%E2%80%AE%FF", "The test failed: <b>\\u202E\\xFF"},
        {"nonsense", "The test failed: nonsense"},
        {longReason.c_str(), longWords.c_str()},
        {"", "The test failed: "},
    };
    for (const auto& [answer, words] : kAnswers) {
        Script("echo '" + std::string(answer) + "'\nexit 1\n");
        EXPECT_EQ(Result(), words);
    }
    EXPECT_EQ(Find<QLabel>("lblTestResult").textFormat(), Qt::PlainText);
}

TEST_F(Connection, WhatIsShownIsTestedAndNotSaved) {
    PutSettings(std::string(788, '\0'));
    Script("echo test ok\n");
    Open();
    Fill("http://proxy.example.org", "3128");
    Authentication().click();
    User().setText("jo");
    Password().setText("a b");
    EXPECT_EQ(Result(), "The connection works.");
    EXPECT_EQ(ReadFile(m_scratch / "arguments"), "1 --test\n");
    EXPECT_EQ(ReadFile(m_scratch / "request"),
              "source site\nadministrator 1\napplication " + m_scratch.Path() + "\ndownload " +
                  m_scratch.Path() +
                  "download/\nproxy-server http://proxy.example.org\nproxy-port 3128\n"
                  "proxy-user jo\nproxy-password a b\nno-addresses 1\ngo\n");
    EXPECT_EQ(Settings(), std::string(788, '\0'));
    EXPECT_TRUE(IsOpen());
}

TEST_F(Connection, AMissingProgramIsSaid) {
    Open();
    Click("btnTest");
    EXPECT_TRUE(
        QTest::qWaitFor([this] { return Find<QPushButton>("btnTest").isEnabled(); }, 20'000));
    EXPECT_EQ(Said(), "The program that tests the connection is missing or cannot be started: " +
                          m_scratch.Path() + kProgram);
}

TEST_F(Connection, AnEndWithoutAnswerIsSaid) {
    Open();
    for (const char* then :
         {"exit 0\n", "kill -9 $$\n", "printf 'test ok'\n", "printf '%05000d\\n' 0\n"}) {
        Script(then);
        EXPECT_EQ(Result(), "The test ended without a result.") << then;
    }
}

TEST_F(Connection, AnInvalidEntryIsSaidAndNotTested) {
    Script("echo test ok\n");
    Open();
    Fill("", "1080");
    Click("btnTest");
    EXPECT_EQ(Said(), "Provide the valid proxy server configuration");
    EXPECT_TRUE(Find<QPushButton>("btnTest").isEnabled());
    EXPECT_FALSE(Exists(m_scratch / "arguments"));
}

TEST_F(Connection, TheResultGoesWithTheEntriesItWasSaidOf) {
    Script("echo test ok\n");
    Open();
    Fill("proxy.example.org", "1080");
    Authentication().setChecked(true);
    User().setText("jo");
    const std::pair<const char*, std::function<void()>> kChanges[] = {
        {"server", [this] { Server().setText("other.example.org"); }},
        {"port", [this] { Port().setText("1081"); }},
        {"user", [this] { User().setText("jim"); }},
        {"password", [this] { Password().setText("secret"); }},
        {"authentication", [this] { Authentication().click(); }},
        {"proxy", [this] { UseProxy().click(); }},
    };
    for (const auto& [name, change] : kChanges) {
        ASSERT_EQ(Result(), "The connection works.");
        change();
        EXPECT_EQ(Said(), "") << name;
    }
}

TEST_F(Connection, TheWindowWorksMeanwhile) {
    Script("while [ ! -e '" + m_scratch / "answer now" +
           "' ]; do sleep 0.02; done; echo test ok\n");
    Open();
    Click("btnTest");
    UseProxy().click();
    EXPECT_TRUE(QTest::qWaitFor([this] { return Exists(m_scratch / "request"); }, 20'000));
    EXPECT_TRUE(Server().isEnabled());
    EXPECT_FALSE(Find<QPushButton>("btnTest").isEnabled());
    WriteFile(m_scratch / "answer now", "");
    EXPECT_TRUE(
        QTest::qWaitFor([this] { return Find<QPushButton>("btnTest").isEnabled(); }, 20'000));
    EXPECT_EQ(Said(), "The connection works.");
}

TEST_F(Connection, TheInputStaysOpenUntilTheAnswer) {
    // The end of the input would stop a test.
    PutProgram(kProgram,
               "while read -r line && [ \"$line\" != go ]; do :; done\n"
               "exec 3<&0\n"
               "(read -r line <&3; echo ended >'" +
                   m_scratch / "ended" +
                   "') &\n"
                   "sleep 0.3\n[ -e '" +
                   m_scratch / "ended" + "' ] && echo test refused || echo test ok\n");
    Open();
    EXPECT_EQ(Result(), "The connection works.");
}

TEST_F(Connection, IsEndedWithTheDialog) {
    Script("echo $$ >'" + m_scratch / "pid" + "'\nexec sleep 600\n");
    Open();
    Click("btnTest");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !ReadFile(m_scratch / "pid").empty(); }, 20'000));
    const pid_t program = std::stoi(ReadFile(m_scratch / "pid"));
    m_dialog.reset();
    EXPECT_TRUE(WaitUntil([program] { return ::kill(program, 0) != 0; }));
}

TEST_F(Connection, TakesFifteenSecondsAtMost) {
    EXPECT_EQ(ConnectionTest::kLimit, 15s);
    Script("exec sleep 600\n");
    ConnectionTest test(nullptr, 300ms);
    QStringList said;
    QObject::connect(&test, &ConnectionTest::Finished,
                     [&said](const QString& words) { said << words; });
    test.Start(m_scratch / kProgram, "go\n");
    EXPECT_TRUE(test.IsRunning());
    EXPECT_TRUE(QTest::qWaitFor([&said] { return !said.isEmpty(); }, 20'000));
    EXPECT_EQ(said.join('|'), "There was no answer in time; the test was ended.");
    EXPECT_FALSE(test.IsRunning());
}

TEST_F(Connection, AnAnswerInTimeCountsThoughTheProgramDoesNotEnd) {
    Script("echo test ok\nexec sleep 600\n");
    QStringList said;
    // On a busy machine the program may begin late.
    for (const auto limit : {500ms, 4000ms, 30'000ms}) {
        said.clear();
        ConnectionTest test(nullptr, limit);
        QObject::connect(&test, &ConnectionTest::Finished,
                         [&said](const QString& words) { said << words; });
        test.Start(m_scratch / kProgram, "go\n");
        test.Start(m_scratch / kProgram, "go\n");  // does nothing
        ASSERT_TRUE(QTest::qWaitFor([&said] { return !said.isEmpty(); }, 40'000));
        if (said.join('|') == "The connection works.") {
            break;
        }
    }
    EXPECT_EQ(said.join('|'), "The connection works.");
}

TEST_F(Connection, EndlessOutputIsNoAnswer) {
    Script("while :; do echo -n xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx; done\n");
    ConnectionTest test(nullptr, 500ms);
    QString said;
    QObject::connect(&test, &ConnectionTest::Finished,
                     [&said](const QString& words) { said = words; });
    test.Start(m_scratch / kProgram, "go\n");
    EXPECT_TRUE(QTest::qWaitFor([&said] { return !said.isEmpty(); }, 20'000));
    EXPECT_EQ(said, "There was no answer in time; the test was ended.");
}

}  // namespace
