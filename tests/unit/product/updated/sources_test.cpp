#include "product/updated/sources.h"

#include <gtest/gtest.h>

#include "tests/support/scratch.h"
#include "tests/unit/update/files/link_bytes.h"
#include "update/files/admin_links.h"
#include "update/files/update_links.h"

// The request that the product's own files make.

namespace fs = std::filesystem;

namespace updated {
namespace {

using updturl::Source;
using Addresses = std::optional<std::vector<std::string>>;

const std::string kDirectory = "/usr/lib/Corvane/Corvane/";

std::string Field(const std::string& text, std::size_t size) {
    return text + std::string(size - text.size(), '\0');
}

class Sources : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the product directory is only made inside the sandbox";
        }
        fs::remove_all("/usr/lib/Corvane");
        fs::create_directories(kDirectory);
        SetOptions(0x2);
    }
    void TearDown() override {
        if (InSandbox()) {
            fs::remove_all("/usr/lib/Corvane");
            fs::remove("/zqupdt.log");
        }
    }

    static void SetOptions(char flags) {
        WriteFile(kDirectory + "zqupdate.opt", std::string({flags, 0, 0, 0, 1, 0, 0, 0}) +
                                                   Field("/srv/definitions", 256) +
                                                   Field("/srv/backup", 256));
    }
    static void SetProxy(char use) {
        WriteFile(kDirectory + "zqinet.opt", std::string({use, 0, 0, 0}) +
                                                 Field("proxy.example", 260) +
                                                 std::string("\x38\x0C", 2) + Field("me", 260) +
                                                 Field("secret", 260) + std::string("\1\0", 2));
    }
    /// "updlink.dat" with this one address.
    static void SetAddress(const std::string& address) {
        std::string record = std::string(4, '\0') + Field(address, 1032);
        CUpdate::Encrypt(reinterpret_cast<unsigned char*>(record.data()),
                         static_cast<int>(record.size()));
        WriteFile(kDirectory + "updlink.dat", std::string("\0\0\0\0\1\0", 6) + record);
    }
    static void SetServerAddress(const std::string& address) {
        WriteFile(kDirectory + "scanver.cnf", std::string("\5\0\x0C\0", 4) + std::string(16, '\0'));
        std::string text = address;
        char* list[] = {text.data()};
        ASSERT_EQ(SetUpdateUrl(list, 1), 1);
    }
};

TEST_F(Sources, TheInternetCentreIsTheListOfTheProduct) {
    SetAddress("https://mirror.example/definitions");
    SetServerAddress("https://server.example");
    const auto request = ReadSources(kDirectory, Source::kSite);
    ASSERT_TRUE(request);
    updturl::Request expected;
    expected.applicationDirectory = kDirectory;
    expected.downloadDirectory = kDirectory + "download/";
    expected.addresses = {{"https://mirror.example/definitions"}};
    EXPECT_EQ(*request, expected);
}

TEST_F(Sources, TheServerIsTheListOfTheAdministrator) {
    SetAddress("https://mirror.example");
    SetServerAddress("https://server.example");
    SetOptions(0x8);
    const auto request = ReadSources(kDirectory, Source::kSite);
    ASSERT_TRUE(request);
    EXPECT_TRUE(request->isFromAdministrator);
    EXPECT_EQ(request->addresses, (Addresses{{"https://server.example/update/0512"}}));
    SetOptions(0x8 | 0x2);
    EXPECT_FALSE(ReadSources(kDirectory, Source::kSite)->isFromAdministrator);
}

TEST_F(Sources, AListThatCannotBeReadIsNone) {
    EXPECT_EQ(ReadSources(kDirectory, Source::kSite)->addresses, std::nullopt);
    SetOptions(0x8);
    EXPECT_EQ(ReadSources(kDirectory, Source::kSite)->addresses, std::nullopt);
}

TEST_F(Sources, TheFolderIsTheOneOfTheOptions) {
    SetProxy(1);
    const auto request = ReadSources(kDirectory, Source::kIndex);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->source, Source::kIndex);
    EXPECT_EQ(request->folder, "/srv/definitions");
    EXPECT_EQ(request->backupFolder, std::nullopt);
}

TEST_F(Sources, ABackupIsMadeWhereItIsWanted) {
    EXPECT_EQ(ReadSources(kDirectory, Source::kSite)->backupFolder, std::nullopt);
    SetOptions(0x2 | 0x4);
    EXPECT_EQ(ReadSources(kDirectory, Source::kSite)->backupFolder, "/srv/backup");
}

TEST_F(Sources, TheProxyIsTheOneOfTheSettingsIfItIsUsed) {
    SetProxy(1);
    EXPECT_EQ(ReadSources(kDirectory, Source::kSite)->proxy,
              (updturl::Proxy{"proxy.example", 3128, "me", "secret"}));
    SetProxy(0);
    EXPECT_EQ(ReadSources(kDirectory, Source::kSite)->proxy, updturl::Proxy{});
    fs::resize_file(kDirectory + "zqinet.opt", 787);
    EXPECT_EQ(ReadSources(kDirectory, Source::kSite)->proxy, updturl::Proxy{});
}

TEST_F(Sources, WithoutOptionsThereIsNoRequest) {
    fs::remove(kDirectory + "zqupdate.opt");
    EXPECT_FALSE(ReadSources(kDirectory, Source::kSite));
}

TEST_F(Sources, OfficialMirrorsAreKnownByTheirDomain) {
    updturl::Request request;
    for (const char* address : {"https://database.clamav.net", "http://clamav.net/x",
                                "https://database.clamav.net:443/a", "HTTPS://Database.ClamAV.NET",
                                "https://me:pw@database.clamav.net", "https://me@clamav.net./"}) {
        request.addresses = {{"https://mirror.example", address}};
        EXPECT_TRUE(AsksOfficialMirror(request)) << address;
    }
    for (const char* address : {"https://mirror.example/clamav.net", "https://notclamav.net",
                                "https://clamav.net.example", "https://clamav.net@mirror.example",
                                "db.local.clamav.net", "ftp://clamav.net", ""}) {
        request.addresses = {{address}};
        EXPECT_FALSE(AsksOfficialMirror(request)) << address;
    }
    request.addresses = std::nullopt;
    EXPECT_FALSE(AsksOfficialMirror(request));
    request.source = Source::kIndex;
    request.addresses = {{"https://clamav.net"}};
    EXPECT_FALSE(AsksOfficialMirror(request));
}

}  // namespace
}  // namespace updated
