#include "product/fetch/connection_test.h"

#include <gmock/gmock.h>

#include "tests/unit/product/fetch/fetch_fixture.h"
#include "tests/unit/product/fetch/tls_fixture.h"

namespace {

using fetch::Connection;
using fetch::Proxy;

class ConnectionTest : public FetchTest {
protected:
    fetch::ConnectionResult Test(const std::string& address, const Proxy& proxy = {}) {
        return fetch::TestConnection(proxy, address, m_request.official, m_listener);
    }
    Connection Try(const std::string& address, const Proxy& proxy = {}) {
        return Test(address, proxy).connection;
    }
};

TEST_F(ConnectionTest, AMirrorThatAnswersIsFine) {
    EXPECT_EQ(Try(m_server.Address()), Connection::kOk);
    EXPECT_EQ(m_server.Requests().size(), 1U);
}

TEST_F(ConnectionTest, AnAddressWithoutAMirrorIsNot) {
    m_server.Script({{"/index.json", R"({"do": "status", "status": 404})"}});
    const auto result = Test(m_server.Address());
    EXPECT_EQ(result.connection, Connection::kFailed);
    EXPECT_EQ(result.words, "the server answered with status 404");
}

TEST_F(ConnectionTest, AnyAnswerOfAnOfficialMirrorIsFine) {
    m_request.official.domain = "127.0.0.1";
    m_server.Script({{"/index.json", R"({"do": "status", "status": 403})"}});
    EXPECT_EQ(Try(m_server.Address()), Connection::kOk);
}

TEST_F(ConnectionTest, ANameThatIsNotFoundIsTold) {
    EXPECT_EQ(Try("http://no-such-name.invalid"), Connection::kNameNotFound);
    EXPECT_EQ(Try(m_server.Address(), {"no-such-name.invalid", 80, {}, {}}),
              Connection::kNameNotFound);
}

TEST_F(ConnectionTest, ThatNobodyListensIsTold) {
    const int port = FreePort();
    EXPECT_EQ(Try("http://127.0.0.1:" + std::to_string(port)), Connection::kRefused);
    EXPECT_EQ(Try(m_server.Address(), {"127.0.0.1", static_cast<std::uint16_t>(port), {}, {}}),
              Connection::kRefused);
}

TEST_F(ConnectionTest, ThatAProxyAsksForAPasswordIsTold) {
    const int port = FreePort();
    const Proxy proxy{"socks5://127.0.0.1", static_cast<std::uint16_t>(port), {}, {}};
    ServerProcess socks;
    socks.Start({"microsocks", "-i", "127.0.0.1", "-p", std::to_string(port), "-u", "clerk", "-P",
                 "secret"});
    ASSERT_TRUE(WaitForPort(port));
    EXPECT_EQ(Try(m_server.Address(), proxy), Connection::kProxyAuthentication);
    // A web server that answers as such a proxy does.
    const Proxy asks{"127.0.0.1", static_cast<std::uint16_t>(m_server.Port()), {}, {}};
    m_server.Script({{"http://mirror.example/index.json", R"({"do": "status", "status": 407})"}});
    EXPECT_EQ(Try("http://mirror.example", asks), Connection::kProxyAuthentication);
}

TEST_F(ConnectionTest, ThatNoAnswerComesIsToldAfterTenSeconds) {
    m_server.Script({{"/index.json", R"({"do": "hang"})"}});
    const auto begin = std::chrono::steady_clock::now();
    const auto patientBegin = PatientClock::now();
    EXPECT_EQ(Try(m_server.Address()), Connection::kNoAnswer);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9));
    EXPECT_LT(PatientClock::now() - patientBegin, std::chrono::milliseconds(10'500));
}

TEST_F(ConnectionTest, ItEndsWhenItIsTold) {
    m_server.Script({{"/index.json", R"({"do": "hang"})"}});
    m_listener.shouldStop = [] { return true; };
    const auto begin = RecordingListener::Clock::now();
    EXPECT_EQ(Try(m_server.Address()), Connection::kFailed);
    EXPECT_LT(RecordingListener::Clock::now() - begin, std::chrono::milliseconds(300));
}

TEST_F(ConnectionTest, ACertificateThatIsNotTrustedIsTold) {
    Certificates certificates;
    if (!certificates.Make()) {
        GTEST_SKIP() << "certificates are trusted only by root in a private root";
    }
    const MirrorServer unknown(certificates.Pem("unknown"));
    EXPECT_EQ(Try(unknown.Address("https", "localhost")), Connection::kCertificate);
    const MirrorServer good(certificates.Pem("good"));
    WriteMirror(good.Root(), m_contents);
    EXPECT_EQ(Try(good.Address("https", "localhost")), Connection::kOk);
}

TEST_F(ConnectionTest, WhatIsNoAddressIsTold) {
    const auto result = Test("mirror");
    EXPECT_EQ(result.connection, Connection::kFailed);
    EXPECT_EQ(result.words, "this is no address of a web server");
}

TEST_F(ConnectionTest, EveryOutcomeHasItsName) {
    EXPECT_STREQ(NameOf(Connection::kOk), "ok");
    EXPECT_STREQ(NameOf(Connection::kNameNotFound), "name-not-found");
    EXPECT_STREQ(NameOf(Connection::kRefused), "refused");
    EXPECT_STREQ(NameOf(Connection::kProxyAuthentication), "proxy-authentication");
    EXPECT_STREQ(NameOf(Connection::kCertificate), "certificate");
    EXPECT_STREQ(NameOf(Connection::kNoAnswer), "no-answer");
    EXPECT_STREQ(NameOf(Connection::kFailed), "failed");
}

}  // namespace
