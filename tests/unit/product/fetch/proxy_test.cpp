// Real proxies of the kinds that people have, with and without a password.

#include <cstdlib>
#include <filesystem>

#include "product/fetch/http_client.h"
#include "tests/unit/product/fetch/fetch_fixture.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class ProxyTest : public FetchTest {
protected:
    void SetUp() override { m_port = FreePort(); }

    void StartHttpProxy(const std::string& more = {}) {
        WriteFile(m_folder / "tinyproxy.conf", "Port " + std::to_string(m_port) +
                                                   "\nListen 127.0.0.1\nTimeout 60\nMaxClients 20\n"
                                                   "LogFile \"" +
                                                   (m_folder / "proxy.log") +
                                                   "\"\nLogLevel Connect\n" + more);
        m_proxy.Start({"tinyproxy", "-d", "-c", m_folder / "tinyproxy.conf"});
        ASSERT_TRUE(WaitForPort(m_port)) << "is tinyproxy installed?";
    }

    void StartSocksProxy(const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"microsocks", "-i", "127.0.0.1", "-p",
                                           std::to_string(m_port)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        m_proxy.Start(arguments);
        ASSERT_TRUE(WaitForPort(m_port)) << "is microsocks installed?";
    }

    UpdaterResult FetchThrough(const std::string& server, const std::string& user = {},
                               const std::string& password = {}) {
        m_listener = {};
        m_request.proxy = {server, static_cast<std::uint16_t>(m_port), user, password};
        return Fetch().result;
    }

    int m_port = 0;
    ServerProcess m_proxy;
};

TEST_F(ProxyTest, AnHttpProxyIsUsedWithAndWithoutItsScheme) {
    StartHttpProxy();
    for (const char* server : {"127.0.0.1", "http://127.0.0.1", "HTTP://localhost"}) {
        EXPECT_EQ(FetchThrough(server), kUpdaterUpdated) << server;
    }
    EXPECT_THAT(ReadFile(m_folder / "proxy.log"), HasSubstr("/index.json"));
}

TEST_F(ProxyTest, ThePortMayStandInTheServerText) {
    StartHttpProxy();
    m_request.proxy.server = "127.0.0.1:" + std::to_string(m_port);
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
}

TEST_F(ProxyTest, AnHttpProxyWithAPasswordIsGivenIt) {
    StartHttpProxy("BasicAuth clerk secret\n");
    EXPECT_EQ(FetchThrough("127.0.0.1", "clerk", "secret"), kUpdaterUpdated);
    for (const auto& [user, password] : {std::pair("", ""), std::pair("clerk", "wrong")}) {
        EXPECT_EQ(FetchThrough("127.0.0.1", user, password), kUpdaterFailed);
        EXPECT_TRUE(m_listener.HasLogged("the proxy asks for another user or password"));
        EXPECT_FALSE(m_listener.HasLogged("wrong"));
    }
}

TEST_F(ProxyTest, ASocksProxyIsUsed) {
    StartSocksProxy();
    EXPECT_EQ(FetchThrough("socks5://127.0.0.1"), kUpdaterUpdated);
    // The name is the proxy's to look up.
    m_request.addresses = {m_server.Address("http", "localhost")};
    EXPECT_EQ(FetchThrough("socks5h://127.0.0.1"), kUpdaterUpdated);
}

TEST_F(ProxyTest, ASocksProxyWithAPasswordIsGivenIt) {
    StartSocksProxy({"-u", "clerk", "-P", "secret"});
    EXPECT_EQ(FetchThrough("socks5://127.0.0.1", "clerk", "secret"), kUpdaterUpdated);
    for (const auto& [user, password] : {std::pair("", ""), std::pair("clerk", "wrong")}) {
        EXPECT_EQ(FetchThrough("socks5://127.0.0.1", user, password), kUpdaterFailed);
        EXPECT_TRUE(m_listener.HasLogged("the proxy asks for another user or password"))
            << testing::PrintToString(m_listener.log);
    }
}

// A mirror that wants a password itself is not taken for the proxy.
TEST_F(ProxyTest, WhatTheMirrorRefusesIsNotTheProxys) {
    const auto expectTheMirrors = [this](int status) {
        EXPECT_FALSE(m_listener.HasLogged("the proxy asks"));
        EXPECT_TRUE(
            m_listener.HasLogged("the server answered with status " + std::to_string(status)))
            << testing::PrintToString(m_listener.log);
    };
    StartHttpProxy("BasicAuth clerk secret\n");
    // Whatever the mirror says with it: the last two are the proxy's own words.
    for (const char* headers : {R"("WWW-Authenticate": "Basic realm=\"mirror\"")", "",
                                R"("WWW-Authenticate": "Basic realm=\"Tinyproxy\"")",
                                R"("Proxy-Authenticate": "Basic realm=\"Tinyproxy\"")"}) {
        SCOPED_TRACE(headers);
        m_server.Script({{"/index.json", R"({"do": "status", "status": 401, "headers": {)" +
                                             std::string(headers) + "}}"}});
        EXPECT_EQ(FetchThrough("127.0.0.1", "clerk", "secret"), kUpdaterFailed);
        expectTheMirrors(401);
        EXPECT_EQ(FetchThrough("127.0.0.1", "clerk", "wrong"), kUpdaterFailed);
        EXPECT_TRUE(m_listener.HasLogged("the proxy asks for another user or password"));
    }
    m_port = FreePort();
    StartSocksProxy({"-u", "clerk", "-P", "secret"});
    for (const int status : {401, 407}) {
        m_server.Script(
            {{"/index.json", R"({"do": "status", "status": )" + std::to_string(status) + "}"}});
        EXPECT_EQ(FetchThrough("socks5://127.0.0.1", "clerk", "secret"), kUpdaterFailed);
        expectTheMirrors(status);
    }
    m_listener = {};
    m_request.proxy = {};
    EXPECT_EQ(Fetch().result, kUpdaterFailed) << "without any proxy";
    expectTheMirrors(407);
}

TEST_F(ProxyTest, AProxyThatIsNotThereIsNotGoneAround) {
    EXPECT_EQ(FetchThrough("127.0.0.1"), kUpdaterFailed);
    EXPECT_THAT(m_server.Requests(), IsEmpty());
    EXPECT_EQ(FetchThrough("socks5://127.0.0.1"), kUpdaterFailed);
    EXPECT_THAT(m_server.Requests(), IsEmpty());
}

TEST_F(ProxyTest, AProxyOfAnUnknownKindIsNotGoneAround) {
    for (const char* server : {"ftp://127.0.0.1", "socks4://127.0.0.1", "://127.0.0.1"}) {
        EXPECT_EQ(FetchThrough(server), kUpdaterFailed);
        EXPECT_TRUE(
            m_listener.HasLogged(std::string("the proxy is of an unknown kind: ") + server));
    }
    EXPECT_THAT(m_server.Requests(), IsEmpty());
}

TEST_F(ProxyTest, TheEnvironmentNamesNoProxyAndNoExceptions) {
    const std::string nobody = "http://127.0.0.1:" + std::to_string(FreePort());
    for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY"}) {
        ::setenv(name, nobody.c_str(), 1);
    }
    ::setenv("no_proxy", "127.0.0.1", 1);
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    m_server.ForgetRequests();
    EXPECT_EQ(FetchThrough("127.0.0.1"), kUpdaterFailed);
    EXPECT_THAT(m_server.Requests(), IsEmpty());
    for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY", "no_proxy"}) {
        ::unsetenv(name);
    }
}

}  // namespace
