#include <filesystem>
#include <sys/stat.h>

#include "tests/unit/product/fetch/fetch_fixture.h"

namespace {

namespace fs = std::filesystem;

// What is refused is told with status 2004 and its reason, leaves no candidate, and the next
// address is tried.
class RefusalTest : public FetchTest {
protected:
    void ExpectRefused(const std::string& words) {
        m_listener = {};
        EXPECT_EQ(Fetch().result, kUpdaterInvalidFiles);
        EXPECT_TRUE(m_listener.HasStatus("2004")) << words;
        EXPECT_TRUE(m_listener.HasLogged(m_server.Address() + ": " + words))
            << words << "\n"
            << testing::PrintToString(m_listener.log);
        EXPECT_FALSE(Exists(m_folder / "download/candidate"));
        EXPECT_FALSE(Exists(m_folder / "download/candidate.new"));
    }

    void Overwrite(const std::string& name, const std::string& bytes) const {
        WriteFile(m_server.Root() + name, bytes);
    }
};

TEST_F(RefusalTest, WithoutASignature) {
    fs::remove(m_server.Root() + "index.json.minisig");
    const std::string digest = Sha256Text(ReadFile(m_server.Root() + "index.json"));
    ExpectRefused("the index has no signature");
    EXPECT_EQ(m_server.CountOf("/files/" + digest + ".minisig"), 1U);
    EXPECT_EQ(m_server.CountOf("/index.json"), 1U) << "another round would bring nothing";
}

TEST_F(RefusalTest, WithAnEmptySignature) {
    Overwrite("index.json.minisig", "");
    ExpectRefused("the index has no signature");
}

TEST_F(RefusalTest, WithAMalformedSignature) {
    Overwrite("index.json.minisig", "no signature\n");
    ExpectRefused("the signature of the index is malformed");
}

TEST_F(RefusalTest, WithATooLargeSignature) {
    Overwrite("index.json.minisig", std::string(5000, 'x'));
    ExpectRefused("the signature of the index is too large");
}

TEST_F(RefusalTest, WithTheSignatureOfAnotherIndexAfterThreeRounds) {
    Overwrite("index.json.minisig", MirrorSignature("another one"));
    ExpectRefused("the signature does not belong to this index");
    EXPECT_EQ(m_server.CountOf("/index.json"), 3U);
}

TEST_F(RefusalTest, SignedByAKeyThatIsNotTrusted) {
    WriteFile(m_folder / "product/updturl.keys/test.pub",
              "untrusted comment: minisign public key 0102030405060708\n"
              "RWQIBwYFBAMCAdochfyufL+2ZLxOeaTdFMvszZsSVSMFbJzUYEu5QRGX\n");
    ExpectRefused("the index is signed by a key that this machine does not trust");
}

TEST_F(RefusalTest, WhenThisMachineTrustsNobody) {
    fs::remove(m_folder / "product/updturl.keys/test.pub");
    ExpectRefused("this machine trusts no key");
    fs::remove_all(m_folder / "product/updturl.keys");
    ExpectRefused("this machine trusts no key");
    EXPECT_TRUE(m_listener.HasLogged("updturl.keys: there is no folder of trusted keys"));
}

TEST_F(RefusalTest, AKeyFileThatOthersMayWriteIsNotUsedAndNamed) {
    ::chmod((m_folder / "product/updturl.keys/test.pub").c_str(), 0666);
    ExpectRefused("this machine trusts no key");
    EXPECT_TRUE(
        m_listener.HasLogged("updturl.keys/test.pub: others than root may change the key file"));
}

TEST_F(RefusalTest, AnExpiredIndex) {
    m_contents.expires = std::time(nullptr) - 1;
    Publish();
    ExpectRefused("the index has expired");
}

TEST_F(RefusalTest, AMirrorThatStandsStillUntilItsIndexHasExpired) {
    m_contents.made = std::time(nullptr) - 100;
    m_contents.expires = std::time(nullptr) + 2;
    Publish();
    InstallContents();
    ASSERT_EQ(Fetch().result, kUpdaterUpToDate);
    ASSERT_TRUE(WaitUntil([this] { return std::time(nullptr) > m_contents.expires; }));
    m_server.ForgetRequests();
    ExpectRefused("the index has expired");  // though the answer was 304
    EXPECT_EQ(m_server.Requests().size(), 1U);
}

TEST_F(RefusalTest, AnIndexOlderThanTheOneThatIsInstalled) {
    m_contents.serial = 8;
    InstallContents();
    m_contents.serial = 7;
    Publish();
    ExpectRefused("the index is older than the one already here");
    // The refused one is not remembered, nor does it stand for the highest seen.
    m_contents.serial = 9;
    Publish();
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
}

TEST_F(RefusalTest, AnIndexOlderThanOneThatWasSeenAndNotInstalled) {
    m_contents.serial = 7;
    InstallContents();
    m_contents.serial = 9;
    Publish();
    ASSERT_EQ(Fetch().result, kUpdaterUpdated);
    m_contents.serial = 8;
    Publish();
    ExpectRefused("the index is older than the one already here");
    // Another mirror counts by itself.
    const MirrorServer other;
    WriteMirror(other.Root(), m_contents);
    EXPECT_EQ(FetchFrom({other.Address()}).result, kUpdaterUpdated);
    m_contents.serial = 9;
    Publish();
    EXPECT_EQ(Fetch().result, kUpdaterUpdated) << "the same again";
}

TEST_F(RefusalTest, AnIndexThatIsNone) {
    Overwrite("index.json", "<html>");
    Overwrite("index.json.minisig", MirrorSignature("<html>"));
    ExpectRefused("the index is not a JSON object");
}

// With nothing installed it is not to be taken for what is installed.
TEST_F(RefusalTest, AnEmptyIndex) {
    Overwrite("index.json", "");
    ExpectRefused("the index is empty");
    InstallContents();
    ExpectRefused("the index is empty");
    MirrorServer good;
    WriteMirror(good.Root(), m_contents);
    EXPECT_EQ(FetchFrom({m_server.Address(), good.Address()}).result, kUpdaterUpToDate);
    EXPECT_EQ(good.CountOf("/index.json"), 1U);
}

TEST_F(RefusalTest, AnIndexWithAPathForAName) {
    for (const char* name : {"../../evil.hdb", "/etc/evil.hdb", "sub/evil.hdb", ".evil.hdb"}) {
        m_contents.files[0].first = name;
        Publish();
        ExpectRefused("the index holds a forbidden file name");
    }
    EXPECT_FALSE(Exists(m_folder / "evil.hdb"));
}

TEST_F(RefusalTest, AnIndexOfMoreThanOneMebibyte) {
    Overwrite("index.json", std::string((1U << 20U) + 1, ' '));
    ExpectRefused("the index is larger than 1 MiB");
}

TEST_F(RefusalTest, AnIndexWithoutEnd) {
    m_server.Script({{"/index.json", R"({"do": "endless"})"}});
    ExpectRefused("the index is larger than 1 MiB");
}

TEST_F(RefusalTest, AFileOfAnotherDigest) {
    Overwrite(PathOf(0).substr(1), "weekly signature\n");
    ExpectRefused("daily.ndb: the file has another digest than the index says");
}

TEST_F(RefusalTest, AFileThatIsLonger) {
    Overwrite(PathOf(0).substr(1), "daily signatures\n+");
    ExpectRefused("daily.ndb: the file has another size than the index says");
}

TEST_F(RefusalTest, AFileThatIsShorter) {
    Overwrite(PathOf(0).substr(1), "daily");
    ExpectRefused("daily.ndb: the file has another size than the index says");
}

TEST_F(RefusalTest, AFileThatIsShorterAndTellsNoLength) {
    m_server.Script({{PathOf(0), R"({"do": "nolength", "after": 5})"}});
    ExpectRefused("daily.ndb: the file has another size than the index says");
}

TEST_F(RefusalTest, AFileWithoutEnd) {
    m_server.Script({{PathOf(1), R"({"do": "endless"})"}});
    ExpectRefused("own.hdb: the file has another size than the index says");
}

TEST_F(RefusalTest, FilesOfTwoStatesMixed) {
    const std::string newer = MirrorContents{m_contents}.files[0].second + "one more\n";
    m_contents.files[0].second = newer;
    m_contents.serial = 8;
    Publish();
    Overwrite(PathOf(0).substr(1), "daily signatures\n");
    ExpectRefused("daily.ndb: the file has another size than the index says");
}

TEST_F(RefusalTest, IsTheResultWhicheverAddressItWas) {
    fs::remove(m_server.Root() + "index.json.minisig");
    for (const auto& addresses :
         {std::vector<std::string>{m_server.Address(), "http://127.0.0.1:1"},
          std::vector<std::string>{"http://127.0.0.1:1", m_server.Address()}}) {
        EXPECT_EQ(FetchFrom(addresses).result, kUpdaterInvalidFiles);
    }
    EXPECT_EQ(FetchFrom({"http://127.0.0.1:1"}).result, kUpdaterFailed);
}

TEST_F(RefusalTest, TheNextAddressIsTried) {
    Overwrite(PathOf(0).substr(1), "weekly signature\n");
    MirrorServer good;
    WriteMirror(good.Root(), m_contents);
    EXPECT_EQ(FetchFrom({m_server.Address(), good.Address()}).result, kUpdaterUpdated);
    EXPECT_TRUE(m_listener.HasStatus("2004"));
    EXPECT_EQ(ReadFile(InCandidate("daily.ndb")), "daily signatures\n");
}

}  // namespace
