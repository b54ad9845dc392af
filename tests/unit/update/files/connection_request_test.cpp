// What the updater is asked when the connection is tested.

#include "update/files/connection_request.h"

#include "tests/unit/update/files/option_fixture.h"

namespace {

class ConnectionRequestText : public OptionFixture {
protected:
    void SetUp() override {
        OptionFixture::SetUp();
        if (!IsSkipped()) {
            SetSource("02");
        }
    }
    /// The flags of the update options, two hexadecimal digits.
    void SetSource(std::string_view flags) const { Put("zqupdate.opt", Padded(Hex(flags), 520)); }

    [[nodiscard]] std::string Head(const std::string& administrator) const {
        return "source site\nadministrator " + administrator + "\napplication " + m_scratch.Path() +
               "\ndownload " + m_scratch.Path() + "download/\n";
    }
};

TEST_F(ConnectionRequestText, NamesTheAddressesInTheirOrder) {
    Put("updlink.dat", Hex("00000000 0200") + UpdateRecord("https://two.example.org/a b") +
                           UpdateRecord("https://one.example.org/\xC3\xA9%\n"));
    EXPECT_EQ(update::ConnectionRequest({}), Head("0") +
                                                 "address https://two.example.org/a b\n"
                                                 "address https://one.example.org/%C3%A9%25%0A\n"
                                                 "go\n");
}

TEST_F(ConnectionRequestText, SaysWhenThereIsNoList) {
    EXPECT_EQ(update::ConnectionRequest({}), Head("0") + "no-addresses 1\ngo\n");
}

TEST_F(ConnectionRequestText, TakesTheAdministratorsListForTheServer) {
    SetSource("08");
    Put("updlink.dat", Hex("00000000 0100") + UpdateRecord("https://centre.example.org"));
    std::string head(554, '\0');
    head[26] = 1;
    WriteFile(kAdminLinks, Swapped(head) + AdminEntry("https://server.example.org/update/0512"));
    EXPECT_EQ(update::ConnectionRequest({}),
              Head("1") + "address https://server.example.org/update/0512\ngo\n");
    SetSource("0A");
    EXPECT_EQ(update::ConnectionRequest({}), Head("0") + "address https://centre.example.org\ngo\n")
        << "the Internet centre comes first";
    SetSource("00");
    EXPECT_EQ(update::ConnectionRequest({}), Head("0") + "address https://centre.example.org\ngo\n")
        << "and stands in for a path";
}

TEST_F(ConnectionRequestText, LeavesTheOptionsAsTheyAre) {
    SetSource("08");
    ASSERT_EQ(Mode("zqupdate.opt"), 0600U);
    EXPECT_EQ(update::ConnectionRequest({}), Head("1") + "no-addresses 1\ngo\n");
    EXPECT_EQ(Mode("zqupdate.opt"), 0600U);
    EXPECT_EQ(Get("zqupdate.opt"), Padded(Hex("08"), 520));
}

TEST_F(ConnectionRequestText, MakesNoOptionsAndAsksAsTheUpdatePageWould) {
    std::filesystem::remove(m_scratch / "zqupdate.opt");
    EXPECT_EQ(update::ConnectionRequest({}), Head("1") + "no-addresses 1\ngo\n");
    EXPECT_TRUE(std::filesystem::is_empty(m_scratch.Path()));
}

TEST_F(ConnectionRequestText, NamesTheProxyOnlyWhereItIsUsed) {
    tagZQINETCONFIG settings{};
    common::CopyToField(settings.server, "socks5h://proxy");
    settings.port = 1080;
    EXPECT_EQ(update::ConnectionRequest(settings), Head("0") + "no-addresses 1\ngo\n");
    settings.useProxy = 1;
    EXPECT_EQ(update::ConnectionRequest(settings),
              Head("0") + "proxy-server socks5h://proxy\nproxy-port 1080\nno-addresses 1\ngo\n");
    common::CopyToField(settings.user, "jo\tan");
    common::CopyToField(settings.password, "100%");
    EXPECT_EQ(update::ConnectionRequest(settings),
              Head("0") +
                  "proxy-server socks5h://proxy\nproxy-port 1080\n"
                  "proxy-user jo%09an\nproxy-password 100%25\n"
                  "no-addresses 1\ngo\n");
}

}  // namespace
