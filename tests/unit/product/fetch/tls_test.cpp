#include <filesystem>

#include "tests/unit/product/fetch/fetch_fixture.h"
#include "tests/unit/product/fetch/tls_fixture.h"

namespace {

using testing::IsEmpty;

class TlsTest : public FetchTest {
protected:
    static void SetUpTestSuite() {
        s_certificates = std::make_unique<Certificates>();
        s_isMade = s_certificates->Make();
    }
    static void TearDownTestSuite() { s_certificates.reset(); }
    void SetUp() override {
        if (!s_isMade) {
            GTEST_SKIP() << "certificates are trusted only by root in a private root";
        }
    }

    static std::unique_ptr<Certificates> s_certificates;
    static bool s_isMade;
};

std::unique_ptr<Certificates> TlsTest::s_certificates;
bool TlsTest::s_isMade = false;

TEST_F(TlsTest, AMirrorWithATrustedCertificateIsUsed) {
    const MirrorServer secure(s_certificates->Pem("good"));
    WriteMirror(secure.Root(), m_contents);
    EXPECT_EQ(FetchFrom({secure.Address("https", "localhost")}).result, kUpdaterUpdated)
        << testing::PrintToString(m_listener.log);
}

TEST_F(TlsTest, ACertificateOfAnUnknownAuthorityIsNot) {
    const MirrorServer secure(s_certificates->Pem("unknown"));
    WriteMirror(secure.Root(), m_contents);
    EXPECT_EQ(FetchFrom({secure.Address("https", "localhost")}).result, kUpdaterFailed);
    EXPECT_THAT(secure.Requests(), IsEmpty());
    EXPECT_TRUE(m_listener.HasLogged("SSL certificate problem"));
}

TEST_F(TlsTest, ACertificateOfAnotherHostIsNot) {
    const MirrorServer secure(s_certificates->Pem("othername"));
    WriteMirror(secure.Root(), m_contents);
    EXPECT_EQ(FetchFrom({secure.Address("https", "localhost")}).result, kUpdaterFailed);
    EXPECT_THAT(secure.Requests(), IsEmpty());
}

// The first answer comes with the tunnel, the second through the one that is kept.
TEST_F(TlsTest, AServerThatAsksForAPasswordIsNotTakenForTheProxy) {
    const int port = FreePort();
    WriteFile(m_folder / "tinyproxy.conf", "Port " + std::to_string(port) +
                                               "\nListen 127.0.0.1\nTimeout 60\nMaxClients 20\n"
                                               "BasicAuth clerk secret\nLogLevel Connect\n");
    ServerProcess proxy;
    proxy.Start({"tinyproxy", "-d", "-c", m_folder / "tinyproxy.conf"});
    ASSERT_TRUE(WaitForPort(port));
    m_request.proxy = {"127.0.0.1", static_cast<std::uint16_t>(port), "clerk", "secret"};
    const MirrorServer secure(s_certificates->Pem("good"));
    WriteMirror(secure.Root(), m_contents);
    for (const char* path : {"/index.json", "/index.json.minisig"}) {
        m_listener = {};
        secure.Script({{path, R"({"do": "status", "status": 401})"}});
        EXPECT_EQ(FetchFrom({secure.Address("https", "localhost")}).result, kUpdaterFailed);
        EXPECT_TRUE(m_listener.HasLogged("the server answered with status 401"))
            << testing::PrintToString(m_listener.log);
        EXPECT_FALSE(m_listener.HasLogged("the proxy asks")) << path;
    }
    // A tunnel that the proxy refuses is its own answer.
    m_listener = {};
    m_request.proxy.password = "wrong";
    EXPECT_EQ(FetchFrom({secure.Address("https", "localhost")}).result, kUpdaterFailed);
    EXPECT_TRUE(m_listener.HasLogged("the proxy asks for another user or password"))
        << testing::PrintToString(m_listener.log);
}

TEST_F(TlsTest, AProxyThatIsTalkedToByTlsIsUsedWhereItsCertificateIsTrusted) {
    const int inner = FreePort();
    WriteFile(m_folder / "tinyproxy.conf", "Port " + std::to_string(inner) +
                                               "\nListen 127.0.0.1\nTimeout 60\nMaxClients 20\n"
                                               "LogFile \"" +
                                               (m_folder / "proxy.log") + "\"\nLogLevel Connect\n");
    ServerProcess proxy;
    proxy.Start({"tinyproxy", "-d", "-c", m_folder / "tinyproxy.conf"});
    ASSERT_TRUE(WaitForPort(inner));
    for (const auto& [certificate, result] :
         {std::pair("good", kUpdaterUpdated), std::pair("unknown", kUpdaterFailed)}) {
        SCOPED_TRACE(certificate);
        const int port = FreePort();
        WriteFile(m_folder / "stunnel.conf",
                  "foreground = yes\npid =\n[proxy]\naccept = 127.0.0.1:" + std::to_string(port) +
                      "\nconnect = 127.0.0.1:" + std::to_string(inner) +
                      "\ncert = " + s_certificates->Pem(certificate) + "\n");
        ServerProcess tunnel;
        tunnel.Start({"stunnel4", m_folder / "stunnel.conf"});
        ASSERT_TRUE(WaitForPort(port)) << "is stunnel4 installed?";
        m_server.ForgetRequests();
        m_request.proxy = {"https://localhost", static_cast<std::uint16_t>(port), {}, {}};
        EXPECT_EQ(Fetch().result, result) << testing::PrintToString(m_listener.log);
        EXPECT_EQ(m_server.CountOf("/index.json"), result == kUpdaterUpdated ? 1U : 0U);
    }
    EXPECT_THAT(ReadFile(m_folder / "proxy.log"), testing::HasSubstr("/index.json"));
    EXPECT_TRUE(m_listener.HasLogged("SSL certificate problem"));
}

TEST_F(TlsTest, RedirectsToAnotherHostByHttpsAreFollowed) {
    const MirrorServer secure(s_certificates->Pem("good"));
    WriteMirror(secure.Root(), m_contents);
    std::map<std::string, std::string> script;
    for (const std::string& path :
         {std::string("/index.json"), std::string("/index.json.minisig"), PathOf(0), PathOf(1)}) {
        script[path] =
            R"({"do": "redirect", "to": ")" + secure.Address("https", "localhost") + path + "\"}";
    }
    m_server.Script(script);
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_EQ(secure.CountOf(PathOf(0)), 1U);
}

TEST_F(TlsTest, RedirectsBackToHttpAreNot) {
    const MirrorServer secure(s_certificates->Pem("good"));
    secure.Script({{"/index.json", R"({"do": "redirect", "to": ")" +
                                       m_server.Address("http", "localhost") + "/index.json\"}"}});
    EXPECT_EQ(FetchFrom({secure.Address("https", "localhost")}).result, kUpdaterFailed);
    EXPECT_THAT(m_server.Requests(), IsEmpty());
    EXPECT_TRUE(m_listener.HasLogged("a place that is not allowed"));
}

}  // namespace
