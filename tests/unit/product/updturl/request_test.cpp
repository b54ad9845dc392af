#include "product/updturl/request.h"

#include <gtest/gtest.h>
#include <sstream>
#include <string>

using namespace std::string_literals;

namespace updturl {
namespace {

using State = RequestReader::State;

Request FullRequest() {
    return {
        .source = Source::kSite,
        .isFromAdministrator = true,
        .backupFolder = "/srv/back up",
        .folder = "",
        .applicationDirectory = "/usr/lib/Corvane/Corvane/",
        .downloadDirectory = "/usr/lib/Corvane/Corvane/download/",
        .proxy = {"socks5h://proxy.example", 1080, "Zoë", "100%\nsecret"},
        .addresses = {{"http://one.example/update/0512", "https://two.example/"}},
    };
}

constexpr char kFullText[] =
    "source site\n"
    "administrator 1\n"
    "backup /srv/back up\n"
    "application /usr/lib/Corvane/Corvane/\n"
    "download /usr/lib/Corvane/Corvane/download/\n"
    "proxy-server socks5h://proxy.example\n"
    "proxy-port 1080\n"
    "proxy-user Zo%C3%AB\n"
    "proxy-password 100%25%0Asecret\n"
    "address http://one.example/update/0512\n"
    "address https://two.example/\n"
    "go\n";

State AddAll(RequestReader& reader, const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        reader.Add(line);
    }
    return reader.Now();
}

void ExpectRefused(const std::string& text, const std::string& reason) {
    RequestReader reader;
    EXPECT_EQ(AddAll(reader, text), State::kRefused) << text;
    EXPECT_EQ(reader.Reason(), "the request is not understood at \"" + reason + "\"");
}

TEST(Request, EveryTextIsWrittenInItsLine) {
    EXPECT_EQ(RequestText(FullRequest()), kFullText);
}

TEST(Request, WhatIsWrittenIsRead) {
    RequestReader reader;
    EXPECT_EQ(AddAll(reader, kFullText), State::kWhole);
    EXPECT_EQ(reader.Get(), FullRequest());
}

TEST(Request, AnIndexHasAFolderAndNoBackup) {
    Request request;
    request.source = Source::kIndex;
    request.folder = "/media/stick";
    constexpr char kText[] =
        "source index\n"
        "administrator 0\n"
        "folder /media/stick\n"
        "proxy-port 0\n"
        "no-addresses 1\n"
        "go\n";
    EXPECT_EQ(RequestText(request), kText);
    RequestReader reader;
    EXPECT_EQ(AddAll(reader, kText), State::kWhole);
    EXPECT_EQ(reader.Get(), request);
    EXPECT_EQ(reader.Get().backupFolder, std::nullopt);
    EXPECT_EQ(reader.Get().addresses, std::nullopt);
}

TEST(Request, AnEmptyListIsNotAnUnreadableOne) {
    Request request;
    request.addresses.emplace();
    const auto text = RequestText(request);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->find("no-addresses"), std::string::npos);
    RequestReader reader;
    EXPECT_EQ(AddAll(reader, *text), State::kWhole);
    ASSERT_TRUE(reader.Get().addresses);
    EXPECT_TRUE(reader.Get().addresses->empty());
}

TEST(Request, AnEmptyBackupFolderIsNotNone) {
    Request request;
    request.backupFolder = "";
    const auto text = RequestText(request);
    ASSERT_TRUE(text);
    RequestReader reader;
    EXPECT_EQ(AddAll(reader, *text), State::kWhole);
    EXPECT_EQ(reader.Get().backupFolder, "");
}

TEST(Request, IsNotWholeBeforeItsLastLine) {
    RequestReader reader;
    EXPECT_EQ(reader.Add("source site"), State::kReading);
    EXPECT_EQ(reader.Add("go"), State::kWhole);
}

TEST(Request, NothingChangesAfterItsLastLine) {
    RequestReader reader;
    AddAll(reader, "proxy-port 1\ngo\n");
    EXPECT_EQ(reader.Add("folder /x"), State::kWhole);
    EXPECT_EQ(reader.Get().folder, "");
}

TEST(Request, AnUnknownKeyIsRefused) {
    ExpectRefused("command rm\n", "command");
}

TEST(Request, AKeyWithoutBlankIsRefused) {
    ExpectRefused("source\n", "source");
    ExpectRefused("\n", "");
}

TEST(Request, AKeyThatStandsTwiceIsRefused) {
    ExpectRefused("folder /a\nfolder /b\n", "folder");
}

TEST(Request, OnlyValuesInTheirRangeAreTaken) {
    ExpectRefused("source net\n", "source");
    ExpectRefused("administrator 2\n", "administrator");
    ExpectRefused("administrator \n", "administrator");
    ExpectRefused("proxy-port 65536\n", "proxy-port");
    ExpectRefused("proxy-port -1\n", "proxy-port");
    ExpectRefused("proxy-port 80x\n", "proxy-port");
    ExpectRefused("proxy-port \n", "proxy-port");
    ExpectRefused("no-addresses 0\n", "no-addresses");
    RequestReader reader;
    AddAll(reader, "proxy-port 65535\ngo\n");
    EXPECT_EQ(reader.Get().proxy.port, 65535);
}

TEST(Request, ATextThatIsNotEncodedAsItMustBeIsRefusedWithoutSayingIt) {
    ExpectRefused("proxy-password secret%\n", "proxy-password");
    ExpectRefused("folder /a%00b\n", "folder");
}

TEST(Request, AddressesAndNoAddressesDoNotGoTogether) {
    ExpectRefused("address http://a.example\nno-addresses 1\ngo\n", "no-addresses");
    ExpectRefused("no-addresses 1\naddress http://a.example\ngo\n", "no-addresses");
}

TEST(Request, TheReasonNamesFortyBytesOfTheLineAtMost) {
    ExpectRefused(std::string(4000, 'k') + "\n", std::string(40, 'k'));
}

TEST(Request, ATextThatDoesNotFitIntoALineIsNotCut) {
    Request request;
    request.folder = std::string(4096 - 8, 'f');  // "folder " and the newline
    ASSERT_TRUE(RequestText(request));
    request.folder += 'f';
    EXPECT_EQ(RequestText(request), std::nullopt);
    request.folder = std::string(1400, '\x80');
    EXPECT_EQ(RequestText(request), std::nullopt);
}

TEST(Request, ATextWithAZeroByteIsNotWritten) {
    Request request;
    request.folder = "/a\0b"s;
    EXPECT_EQ(RequestText(request), std::nullopt);
}

TEST(Request, HasAtMostOneMebibyte) {
    Request request;
    request.addresses.emplace(262, std::string(4000 - 9, 'a'));  // "address " and the newline
    const auto text = RequestText(request);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->size(), 262U * 4000 + 44);
    request.addresses->emplace_back(std::string(4000 - 9, 'a'));
    EXPECT_EQ(RequestText(request), std::nullopt);
}

}  // namespace
}  // namespace updturl
