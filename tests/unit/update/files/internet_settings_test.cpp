// "zqinet.opt", byte by byte, and what follows when it was saved.

#include "update/files/internet_settings.h"

#include <cstdlib>

#include "tests/support/no_room.h"
#include "tests/unit/update/files/option_fixture.h"

namespace {

constexpr char kFile[] = "zqinet.opt";
constexpr char kIdentifier[] = "/usr/lib/Corvane/Corvane/zqguid.dat";
constexpr char kExclusion[] = "/usr/lib/Corvane/Corvane/zqadminexclusion.dat";

std::string WholeRecord() {
    return Hex("0100 0000") + Padded("socks5://proxy.example.org", 260) + Hex("3804") +
           Padded("jo", 260) + Padded("secret", 260) + Hex("0100");
}

class InternetSettings : public OptionFixture {};

TEST_F(InternetSettings, AMissingFileIsMadeAllZero) {
    const tagZQINETCONFIG settings = update::LoadInternetSettings();
    EXPECT_EQ(settings.useProxy, 0);
    EXPECT_EQ(Get(kFile), std::string(788, '\0'));
    EXPECT_EQ(Mode(kFile), 0666U);
}

TEST_F(InternetSettings, EveryFieldIsRead) {
    Put(kFile, WholeRecord());
    const tagZQINETCONFIG settings = update::LoadInternetSettings();
    EXPECT_EQ(settings.useProxy, 1);
    EXPECT_STREQ(settings.server, "socks5://proxy.example.org");
    EXPECT_EQ(settings.port, 1080);
    EXPECT_STREQ(settings.user, "jo");
    EXPECT_STREQ(settings.password, "secret");
    EXPECT_EQ(settings.authenticate, 1);
    EXPECT_EQ(Mode(kFile), 0666U);
}

TEST_F(InternetSettings, AShortFileLeavesZeros) {
    Put(kFile, WholeRecord().substr(0, 266));
    const tagZQINETCONFIG settings = update::LoadInternetSettings();
    EXPECT_EQ(settings.port, 1080);
    EXPECT_STREQ(settings.user, "");
    EXPECT_EQ(settings.authenticate, 0);
    EXPECT_EQ(Get(kFile).size(), 266U) << "reading repairs nothing";
}

TEST_F(InternetSettings, AreSavedWhole) {
    tagZQINETCONFIG settings{};
    settings.useProxy = 1;
    common::CopyToField(settings.server, "socks5://proxy.example.org");
    settings.port = 1080;
    common::CopyToField(settings.user, "jo");
    common::CopyToField(settings.password, "secret");
    settings.authenticate = 1;
    EXPECT_EQ(update::SaveInternetSettings(settings), common::FileOutcome::kDone)
        << "into a file made for them";
    EXPECT_EQ(Get(kFile), WholeRecord());
    EXPECT_EQ(Mode(kFile), 0666U);

    Put(kFile, std::string(790, 'x'));
    EXPECT_EQ(update::SaveInternetSettings({}), common::FileOutcome::kDone);
    EXPECT_EQ(Get(kFile), std::string(788, '\0') + "xx");
    EXPECT_EQ(Mode(kFile), 0666U);
}

TEST_F(InternetSettings, AFullDiskIsTold) {
    Put(kFile, WholeRecord());
    const NoRoom none;
    EXPECT_EQ(update::SaveInternetSettings({}), common::FileOutcome::kFailed);
    EXPECT_EQ(Get(kFile), WholeRecord());
}

TEST_F(InternetSettings, AFolderThatTakesNoFileIsTold) {
    EXPECT_EQ(AsOwner([this] {
                  return ::chmod(m_scratch.Path().c_str(), 0555) == 0 &&
                                 update::LoadInternetSettings().useProxy == 0 &&
                                 update::SaveInternetSettings({}) == common::FileOutcome::kNotOpened
                             ? 0
                             : 1;
              }),
              0);
    ::chmod(m_scratch.Path().c_str(), 0755);
    EXPECT_FALSE(Exists(m_scratch / kFile));
}

TEST_F(InternetSettings, ALinkIsNotFollowedWhereOthersMayWrite) {
    ::chmod(m_scratch.Path().c_str(), 0777);
    Put("secret", WholeRecord());
    std::filesystem::create_symlink("secret", m_scratch / kFile);
    EXPECT_EQ(update::LoadInternetSettings().useProxy, 0);
    EXPECT_EQ(update::SaveInternetSettings({}), common::FileOutcome::kNotOpened);
    EXPECT_EQ(Get("secret"), WholeRecord());
    EXPECT_EQ(Mode("secret"), 0600U);
}

TEST_F(InternetSettings, TheAdministratorsLinkIsFollowed) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to own the folder";
    }
    Put("elsewhere", WholeRecord());
    std::filesystem::create_symlink("elsewhere", m_scratch / kFile);
    EXPECT_EQ(update::LoadInternetSettings().port, 1080);
    EXPECT_EQ(update::SaveInternetSettings({}), common::FileOutcome::kDone);
    EXPECT_EQ(Get("elsewhere"), std::string(788, '\0'));
    EXPECT_TRUE(std::filesystem::is_symlink(m_scratch / kFile));
}

TEST_F(InternetSettings, AFifoIsNotWaitedFor) {
    ASSERT_EQ(::mkfifo((m_scratch / kFile).c_str(), 0600), 0);
    EXPECT_EQ(update::LoadInternetSettings().useProxy, 0);
    EXPECT_EQ(update::SaveInternetSettings({}), common::FileOutcome::kNotOpened);
    EXPECT_EQ(Mode(kFile), 0600U);
}

class EndpointIdentifier : public OptionFixture {
protected:
    void SetUp() override {
        OptionFixture::SetUp();
        if (!IsSkipped()) {
            WriteFile(kIdentifier, "{8c2f4f0e-0b2d}");
        }
    }
};

TEST_F(EndpointIdentifier, BecomesZeroUnlessTheAdministratorSaysOne) {
    for (const char* exclusion : {"0", "0\n", "", " 1", "x1111111"}) {
        WriteFile(kIdentifier, "{8c2f4f0e-0b2d}");
        WriteFile(kExclusion, exclusion);
        update::ResetEndpointIdentifier();
        EXPECT_EQ(ReadFile(kIdentifier), "0") << exclusion;
    }
}

TEST_F(EndpointIdentifier, IsMadeWhenItIsMissing) {
    std::filesystem::remove(kIdentifier);
    WriteFile(kExclusion, "0");
    update::ResetEndpointIdentifier();
    EXPECT_EQ(ReadFile(kIdentifier), "0");
}

TEST_F(EndpointIdentifier, StaysWhereTheAdministratorSaysOne) {
    for (const char* exclusion : {"1", "1\n", "10000"}) {
        WriteFile(kExclusion, exclusion);
        update::ResetEndpointIdentifier();
        EXPECT_EQ(ReadFile(kIdentifier), "{8c2f4f0e-0b2d}") << exclusion;
    }
}

TEST_F(EndpointIdentifier, StaysWhereNobodySaysAnything) {
    update::ResetEndpointIdentifier();
    EXPECT_EQ(ReadFile(kIdentifier), "{8c2f4f0e-0b2d}");
    EXPECT_FALSE(Exists(kExclusion));
}

TEST_F(EndpointIdentifier, NoFifoKeepsAnybodyWaiting) {
    ASSERT_EQ(::mkfifo(kExclusion, 0600), 0);
    update::ResetEndpointIdentifier();
    EXPECT_EQ(ReadFile(kIdentifier), "{8c2f4f0e-0b2d}");
    std::filesystem::remove(kExclusion);
    WriteFile(kExclusion, "0");
    std::filesystem::remove(kIdentifier);
    ASSERT_EQ(::mkfifo(kIdentifier, 0600), 0);
    update::ResetEndpointIdentifier();
}

TEST_F(EndpointIdentifier, ALinkOfAnotherUserIsNotCutOff) {
    ::chmod(kProductFolder, 0777);
    WriteFile(kExclusion, "0");
    Put("precious", "precious");
    std::filesystem::remove(kIdentifier);
    std::filesystem::create_symlink(m_scratch / "precious", kIdentifier);
    update::ResetEndpointIdentifier();
    EXPECT_EQ(Get("precious"), "precious");
    std::filesystem::remove(kIdentifier);
    const std::string other = std::string(kProductFolder) + "/other";
    WriteFile(other, "precious");
    std::filesystem::create_hard_link(other, kIdentifier);
    update::ResetEndpointIdentifier();
    EXPECT_EQ(ReadFile(other), "precious");
}

TEST_F(InternetSettings, TheWebProtectionIsTold) {
    // A program of that name that notes how it was called.
    Put("pkill", "#!/bin/sh\necho \"$#|$*\" >>'" + m_scratch / "calls" + "'\n", 0755);
    const std::string path = std::getenv("PATH");
    ::setenv("PATH", (m_scratch.Path() + ":" + path).c_str(), 1);
    update::TellWebProtection();
    ::setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(Get("calls"), "2|-SIGHUP websecd\n");
}

}  // namespace
