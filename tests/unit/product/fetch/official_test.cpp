// libfreshclam against a server of ours, with databases whose signatures are real. They are others'
// and no part of this project; without them these tests are skipped.

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>

#include "tests/unit/product/fetch/fetch_fixture.h"

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

class OfficialTest : public FetchTest {
protected:
    void SetUp() override {
        if (!Exists(Sample("test-6.cvd"))) {
            GTEST_SKIP() << "no signed databases in " << SIGNED_DATABASES;
        }
        m_request.official.domain = "127.0.0.1";
        m_request.official.databases = {"test"};
        m_request.official.dnsServer.clear();
        fs::copy_file(Sample("test-6.cvd"), m_server.Root() + "test.cvd");
        for (const char* name : {"test-4.cdiff", "test-5.cdiff", "test-6.cdiff"}) {
            fs::copy_file(Sample(name), m_server.Root() + name);
        }
    }

    static std::string Sample(const std::string& name) {
        return std::string(SIGNED_DATABASES "/") + name;
    }

    // Changes one byte in the middle, far behind the head.
    static void Damage(const std::string& path) {
        std::string bytes = ReadFile(path);
        char& changed = bytes[bytes.size() / 2];
        changed = static_cast<char>(changed ^ 1);
        WriteFile(path, bytes);
    }

    void ExpectReplaced(const std::string& name) {
        m_listener = {};
        m_server.ForgetRequests();
        EXPECT_EQ(Fetch().result, kUpdaterUpdated) << testing::PrintToString(m_listener.log);
        EXPECT_THAT(m_listener.statuses, Contains("2004"));
        EXPECT_TRUE(m_listener.HasLogged(name + " is damaged and was removed"))
            << testing::PrintToString(m_listener.log);
        EXPECT_TRUE(m_listener.HasLogged(": a database here was damaged"));
        EXPECT_TRUE(ReadFile(InCandidate("test.cvd")) == ReadFile(Sample("test-6.cvd")));
        EXPECT_EQ(std::distance(fs::directory_iterator(InCandidate("")), {}), 1);
    }

    // Makes these files the installed set.
    void Install(const std::string& from, const std::string& name) const {
        fs::remove_all(m_request.currentSet);
        fs::create_directory(m_request.currentSet);
        fs::copy_file(from, m_request.currentSet + "/" + name);
    }
};

TEST_F(OfficialTest, AFreshMachineGetsTheWholeDatabase) {
    const std::string before = fs::current_path();
    EXPECT_EQ(Fetch().result, kUpdaterUpdated) << testing::PrintToString(m_listener.log);
    EXPECT_EQ(ReadFile(InCandidate("test.cvd")), ReadFile(Sample("test-6.cvd")));
    EXPECT_EQ(std::distance(fs::directory_iterator(InCandidate("")), {}), 1);
    EXPECT_EQ(ModeOf(InCandidate("")), 0750U);
    EXPECT_EQ(ModeOf(InCandidate("test.cvd")), 0640U);
    EXPECT_THAT(m_listener.statuses, testing::ElementsAre("2000", "2001", "2006 test"));
    EXPECT_EQ(fs::current_path(), before);
}

TEST_F(OfficialTest, WhatIsInstalledIsUpToDate) {
    ASSERT_EQ(Fetch().result, kUpdaterUpdated);
    Install(InCandidate("test.cvd"), "test.cvd");
    EXPECT_EQ(Fetch().result, kUpdaterUpToDate);
    EXPECT_FALSE(Exists(m_folder / "download/candidate"));
}

TEST_F(OfficialTest, WhatWasLoadedAndNotInstalledIsOfferedAgain) {
    ASSERT_EQ(Fetch().result, kUpdaterUpdated);
    m_server.ForgetRequests();
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_EQ(ReadFile(InCandidate("test.cvd")), ReadFile(Sample("test-6.cvd")));
    EXPECT_EQ(m_server.Requests().size(), 1U);  // its head
}

TEST_F(OfficialTest, AnOlderOneIsBroughtUpToDateByDifferences) {
    Install(Sample("test-3.cvd"), "test.cvd");
    EXPECT_EQ(Fetch().result, kUpdaterUpdated) << testing::PrintToString(m_listener.log);
    EXPECT_THAT(ReadFile(InCandidate("test.cld")).substr(0, 60), HasSubstr(":6:14:"));
    EXPECT_FALSE(Exists(InCandidate("test.cvd")));
    for (const char* name : {"/test-4.cdiff", "/test-5.cdiff", "/test-6.cdiff"}) {
        EXPECT_EQ(m_server.CountOf(name), 1U) << name;
    }
}

TEST_F(OfficialTest, ADamagedDatabaseIsLoadedAgain) {
    ASSERT_EQ(Fetch().result, kUpdaterUpdated);
    Damage(m_folder / "download/official/test.cvd");
    ExpectReplaced("test.cvd");
    fs::resize_file(m_folder / "download/official/test.cvd", 1000);
    ExpectReplaced("test.cvd");
}

TEST_F(OfficialTest, ADamagedDatabaseMadeOfDifferencesIsLoadedAgain) {
    Install(Sample("test-3.cvd"), "test.cvd");
    ASSERT_EQ(Fetch().result, kUpdaterUpdated);
    fs::remove_all(m_request.currentSet);
    Damage(m_folder / "download/official/test.cld");
    ExpectReplaced("test.cld");
}

// A disk that spoils all it is given: the mirror is not to blame.
TEST_F(OfficialTest, ADatabaseThatIsDamagedAgainIsAFailureAndNotRefused) {
    class BadDisk : public RecordingListener {
    public:
        explicit BadDisk(std::string path) : m_path(std::move(path)) {}
        // Each try says so before it begins.
        void Status(std::uint16_t status, std::string_view name) override {
            RecordingListener::Status(status, name);
            if (status == 2001 && !Exists(m_path)) {
                fs::copy_file(Sample("test-6.cvd"), m_path);
                Damage(m_path);
            }
        }

    private:
        std::string m_path;
    };
    BadDisk listener(m_folder / "download/official/test.cvd");
    m_request.addresses = {m_server.Address()};
    EXPECT_EQ(fetch::Fetch(m_request, listener).result, kUpdaterFailed);
    EXPECT_THAT(listener.statuses, testing::ElementsAre("2000", "2001", "2004", "2001"));
    EXPECT_EQ(std::count(listener.log.begin(), listener.log.end(),
                         m_server.Address() + ": a database here was damaged"),
              1);
    EXPECT_EQ(listener.log.back(), m_server.Address() + ": a database here was damaged again");
    EXPECT_FALSE(Exists(m_folder / "download/candidate"));
}

// What a power cut leaves: the length is right, and what was never written is zero.
TEST_F(OfficialTest, ADatabaseThatWasWrittenOnlyInPartIsLoadedAgain) {
    const std::string path = m_folder / "download/official/test.cld";
    for (const std::size_t written : {600U, 8192U, 22016U, 23040U, 24064U, 25000U}) {
        SCOPED_TRACE(written);
        fs::remove_all(m_folder / "download/official");
        Install(Sample("test-3.cvd"), "test.cvd");
        ASSERT_EQ(Fetch().result, kUpdaterUpdated);
        fs::remove_all(m_request.currentSet);
        std::string bytes = ReadFile(path);
        ASSERT_LT(written, bytes.size());
        bytes.replace(written, std::string::npos, bytes.size() - written, '\0');
        WriteFile(path, bytes);
        ExpectReplaced("test.cld");
    }
}

TEST_F(OfficialTest, AFailureIsFollowedByAnotherTryAtOnce) {
    m_server.Script({{"/test.cvd", R"({"do": "status", "status": 404})"}});
    EXPECT_EQ(Fetch().result, kUpdaterFailed);
    m_server.Script({});
    EXPECT_EQ(Fetch().result, kUpdaterUpdated) << testing::PrintToString(m_listener.log);
}

TEST_F(OfficialTest, WhatCannotBeReachedBlocksNothing) {
    EXPECT_EQ(FetchFrom({"http://127.0.0.1:" + std::to_string(FreePort())}).result, kUpdaterFailed);
    EXPECT_EQ(FetchFrom({m_server.Address()}).result, kUpdaterUpdated)
        << testing::PrintToString(m_listener.log);
}

TEST_F(OfficialTest, TheNextOfficialAddressIsAskedInTheSameRun) {
    EXPECT_EQ(
        FetchFrom({"http://127.0.0.1:" + std::to_string(FreePort()), m_server.Address()}).result,
        kUpdaterUpdated)
        << testing::PrintToString(m_listener.log);
    EXPECT_EQ(ReadFile(InCandidate("test.cvd")), ReadFile(Sample("test-6.cvd")));
}

TEST_F(OfficialTest, AnAdministratorsAddressIsTriedWithoutItsReleaseFirst) {
    m_request.fromAdministrator = true;
    EXPECT_EQ(FetchFrom({m_server.Address() + "/update/0512"}).result, kUpdaterUpdated);
    for (const std::string& request : m_server.Requests()) {
        EXPECT_THAT(request, testing::Not(HasSubstr("/update/"))) << request;
    }
}

TEST_F(OfficialTest, ADatabaseWithoutAValidSignatureIsRefused) {
    std::string bytes = ReadFile(Sample("test-6.cvd"));
    bytes[5000] = static_cast<char>(bytes[5000] ^ 1);
    WriteFile(m_server.Root() + "test.cvd", bytes);
    EXPECT_EQ(Fetch().result, kUpdaterInvalidFiles);
    EXPECT_THAT(m_listener.statuses, Contains("2004"));
    EXPECT_TRUE(m_listener.HasLogged("the database has no valid signature"))
        << testing::PrintToString(m_listener.log);
    EXPECT_FALSE(Exists(m_folder / "download/candidate"));
}

TEST_F(OfficialTest, AMirrorThatForbidsIsLeftAloneAfterThat) {
    m_server.Script({{"/test.cvd", R"({"do": "status", "status": 403})"}});
    EXPECT_EQ(Fetch().result, kUpdaterFailed);
    m_server.Script({});
    m_server.ForgetRequests();
    EXPECT_EQ(Fetch().result, kUpdaterFailed);
    EXPECT_TRUE(m_listener.HasLogged("asks to be left alone, try again at 20"));
    EXPECT_EQ(Fetch().result, kUpdaterFailed);
    EXPECT_TRUE(m_listener.HasLogged("is not asked before 20"));
    EXPECT_THAT(m_server.Requests(), IsEmpty());
}

TEST_F(OfficialTest, AMomentMoreThanADayAwayIsNotWaitedFor) {
    const auto leaveAlone = [this](std::time_t until) {
        WriteFile(m_folder / "download/state.json",
                  R"({"official": {"notBefore": )" + std::to_string(until) + "}}");
    };
    const std::time_t day = 86'400;
    leaveAlone(std::time(nullptr) + day - 10);
    EXPECT_EQ(Fetch().result, kUpdaterFailed);
    leaveAlone(std::time(nullptr) + day + 100);
    EXPECT_EQ(Fetch().result, kUpdaterUpdated) << testing::PrintToString(m_listener.log);
}

TEST_F(OfficialTest, TheNextAddressIsTriedWhenItFails) {
    m_server.Script({{"/test.cvd", R"({"do": "status", "status": 404})"}});
    EXPECT_EQ(FetchFrom({m_server.Address(), m_server.Address("http", "localhost")}).result,
              kUpdaterUpdated);
    EXPECT_EQ(ReadFile(InCandidate("daily.ndb")), "daily signatures\n");
}

TEST_F(OfficialTest, StopEndsTheChildAtOnce) {
    m_server.Script({{"/test.cvd", R"({"do": "hang"})"}});
    RecordingListener::Clock::time_point asked;
    m_listener.shouldStop = [&] {
        const auto now = RecordingListener::Clock::now();
        if (asked == RecordingListener::Clock::time_point() && m_server.CountOf("/test.cvd") > 0) {
            asked = now;
        }
        return asked != RecordingListener::Clock::time_point() &&
               now - asked > std::chrono::milliseconds(600);
    };
    EXPECT_EQ(Fetch().result, kUpdaterInterrupted);
    EXPECT_LT(RecordingListener::Clock::now() - m_listener.stopTold,
              std::chrono::milliseconds(300));
    EXPECT_LT(m_listener.LongestSilence(), std::chrono::milliseconds(250));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), 0) << "only the servers of the test are left";
}

TEST_F(OfficialTest, AProxyWithAPasswordIsUsedAndThoseOfTheEnvironmentAreNot) {
    const int port = FreePort();
    WriteFile(m_folder / "tinyproxy.conf", "Port " + std::to_string(port) +
                                               "\nListen 127.0.0.1\nTimeout 60\nMaxClients 20\n"
                                               "BasicAuth clerk secret\nLogFile \"" +
                                               (m_folder / "proxy.log") + "\"\nLogLevel Connect\n");
    ServerProcess proxy;
    proxy.Start({"tinyproxy", "-d", "-c", m_folder / "tinyproxy.conf"});
    ASSERT_TRUE(WaitForPort(port));
    m_request.proxy = {"http://127.0.0.1", static_cast<std::uint16_t>(port), "clerk", "secret"};
    EXPECT_EQ(Fetch().result, kUpdaterUpdated) << testing::PrintToString(m_listener.log);
    EXPECT_THAT(ReadFile(m_folder / "proxy.log"), HasSubstr("CONNECT"));
    m_request.proxy = {};
    ::setenv("http_proxy", ("http://127.0.0.1:" + std::to_string(FreePort())).c_str(), 1);
    fs::remove_all(m_folder / "download/official");
    EXPECT_EQ(Fetch().result, kUpdaterUpdated) << testing::PrintToString(m_listener.log);
    ::unsetenv("http_proxy");
}

}  // namespace
