#include "product/updturl/arguments.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "common/text_field.h"
#include "tests/support/scratch.h"

namespace updturl {
namespace {

constexpr char kLog[] = "/zqupdt.log";

class ArgumentsTest : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the log is only written inside the sandbox";
        }
        ::unlink(kLog);
        m_settings.useProxy = 1;
        common::CopyToField(m_settings.server, "socks5://proxy.example");
        m_settings.port = 1080;
        common::CopyToField(m_settings.user, "person");
        common::CopyToField(m_settings.password, "secret");
        m_arguments.applicationDirectory = "/app/";
        m_arguments.downloadDirectory = "/app/download/";
        m_arguments.settings = &m_settings;
        SetAddresses({"http://one.example", "http://two.example"});
    }

    void SetAddresses(std::vector<std::string> texts) {
        m_texts = std::move(texts);
        m_list.clear();
        for (std::string& text : m_texts) {
            m_list.push_back(text.data());
        }
        m_arguments.addresses = m_list.data();
        m_arguments.count = static_cast<std::int32_t>(m_list.size());
    }

    tagZQINETCONFIG m_settings{};
    SiteArguments m_arguments;
    std::vector<std::string> m_texts;
    std::vector<char*> m_list;
};

TEST_F(ArgumentsTest, EverythingGivenIsAsked) {
    m_arguments.fromAdministrator = 1;
    m_arguments.keepBackup = 1;
    m_arguments.backupFolder = "/backup";
    const auto request = SiteRequest(m_arguments);
    const Request expected{
        .source = Source::kSite,
        .isFromAdministrator = true,
        .backupFolder = "/backup",
        .folder = "",
        .applicationDirectory = "/app/",
        .downloadDirectory = "/app/download/",
        .proxy = {"socks5://proxy.example", 1080, "person", "secret"},
        .addresses = {{"http://one.example", "http://two.example"}},
    };
    EXPECT_EQ(request, expected);
    EXPECT_FALSE(Exists(kLog));
}

TEST_F(ArgumentsTest, TheBackupFolderCountsOnlyWhenABackupIsKept) {
    m_arguments.backupFolder = "/backup";
    ASSERT_TRUE(SiteRequest(m_arguments));
    EXPECT_EQ(SiteRequest(m_arguments)->backupFolder, std::nullopt);
    m_arguments.keepBackup = 1;
    m_arguments.backupFolder = nullptr;
    EXPECT_EQ(SiteRequest(m_arguments)->backupFolder, std::nullopt);
    m_arguments.backupFolder = "";
    EXPECT_EQ(SiteRequest(m_arguments)->backupFolder, std::nullopt);
}

TEST_F(ArgumentsTest, TheProxyCountsOnlyWhenOneIsUsed) {
    m_settings.useProxy = 0;
    EXPECT_EQ(SiteRequest(m_arguments)->proxy, Proxy{});
    m_arguments.settings = nullptr;
    EXPECT_EQ(SiteRequest(m_arguments)->proxy, Proxy{});
}

TEST_F(ArgumentsTest, TextsOfTheSettingsThatFillTheirFieldsEndThere) {
    std::memset(m_settings.server, 's', sizeof m_settings.server);
    std::memset(m_settings.user, 'u', sizeof m_settings.user);
    std::memset(m_settings.password, 'p', sizeof m_settings.password);
    const auto request = SiteRequest(m_arguments);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->proxy.server, std::string(260, 's'));
    EXPECT_EQ(request->proxy.user, std::string(260, 'u'));
    EXPECT_EQ(request->proxy.password, std::string(260, 'p'));
}

TEST_F(ArgumentsTest, WithoutAListNothingIsAskedAndTheLogSaysWhy) {
    m_arguments.addresses = nullptr;
    EXPECT_EQ(SiteRequest(m_arguments), std::nullopt);
    EXPECT_EQ(ReadFile(kLog), "Update: the list of update servers cannot be read\n");
    m_arguments.fromAdministrator = 1;
    EXPECT_EQ(SiteRequest(m_arguments), std::nullopt);
    EXPECT_EQ(ReadFile(kLog),
              "Update: the list of update servers cannot be read\n"
              "Update: the list of the organisation's update servers cannot be read or is empty\n");
}

TEST_F(ArgumentsTest, EntriesWithoutTextAreLeftOut) {
    SetAddresses({"", "http://two.example", "http://three.example"});
    m_list[2] = nullptr;
    EXPECT_EQ(SiteRequest(m_arguments)->addresses,
              (std::vector<std::string>{"http://two.example"}));
}

TEST_F(ArgumentsTest, ACountBelowOneIsAnEmptyList) {
    m_arguments.count = -1;
    ASSERT_TRUE(SiteRequest(m_arguments));
    EXPECT_EQ(SiteRequest(m_arguments)->addresses, std::vector<std::string>{});
}

TEST_F(ArgumentsTest, AnAddressThatIsTooLongIsPassedOverAndNotCut) {
    SetAddresses({std::string(2049, 'a'), std::string(2048, 'b'), std::string(683, '\x80')});
    EXPECT_EQ(SiteRequest(m_arguments)->addresses,
              (std::vector<std::string>{std::string(2048, 'b')}));
    EXPECT_EQ(ReadFile(kLog),
              "Update: an address of more than 2048 characters is passed over\n"
              "Update: an address of more than 2048 characters is passed over\n");
}

TEST_F(ArgumentsTest, OfVeryManyAddressesTheFirstAreTried) {
    SetAddresses(std::vector<std::string>(300, std::string(2048, 'a')));
    const auto request = SiteRequest(m_arguments);
    ASSERT_TRUE(request);
    EXPECT_EQ(request->addresses->size(), 256U);  // 512 KiB
    EXPECT_TRUE(RequestText(*request));
    EXPECT_EQ(ReadFile(kLog), "Update: of the addresses only the first 256 are tried\n");
}

TEST_F(ArgumentsTest, WithoutADirectoryNothingIsAsked) {
    m_arguments.applicationDirectory = nullptr;
    EXPECT_EQ(SiteRequest(m_arguments), std::nullopt);
    m_arguments.applicationDirectory = "/app/";
    m_arguments.downloadDirectory = nullptr;
    EXPECT_EQ(SiteRequest(m_arguments), std::nullopt);
    EXPECT_EQ(IndexRequest(nullptr, "/folder"), std::nullopt);
    EXPECT_EQ(IndexRequest("/app/", nullptr), std::nullopt);
    EXPECT_EQ(IndexRequest("/app/", ""), std::nullopt);
}

TEST_F(ArgumentsTest, AFolderIsAskedWithItsDownloadFolder) {
    const auto request = IndexRequest("/app/", "/media/stick");
    ASSERT_TRUE(request);
    EXPECT_EQ(request->source, Source::kIndex);
    EXPECT_EQ(request->applicationDirectory, "/app/");
    EXPECT_EQ(request->downloadDirectory, "/app/download/");
    EXPECT_EQ(request->folder, "/media/stick");
    EXPECT_EQ(request->addresses, std::nullopt);
}

}  // namespace
}  // namespace updturl
