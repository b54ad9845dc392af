#include <bit>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>

#include "tests/support/noted_syslog.h"
#include "tests/unit/update/run/shell_update.h"

// A whole update with no window, no event loop and no Qt in the program.

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace fs = std::filesystem;

/// "zqinet.opt" with each field told apart from the others.
std::string InternetBytes() {
    return std::string("\x01\x00\x05\x06", 4) + Padded("proxy.example", 260) + "\x90\x1F" +
           Padded("user", 260) + Padded("pass", 260) + std::string("\x01\x00", 2);
}

TEST_F(ShellUpdate, IsAProgramWithoutQt) {
    const std::string maps = ReadFile("/proc/self/maps");
    EXPECT_THAT(maps, HasSubstr("libstdc++"));
    EXPECT_EQ(maps.find("libQt"), std::string::npos);
}

// ---- What the updater is given

TEST_F(ShellUpdate, TheInternetCentreGetsTwelveArguments) {
    Prepare("result 1\n");
    WriteFile(m_application / "updlink.dat",
              Hex("00000000 0200") + UpdateRecord("https://a/") + UpdateRecord("https://b/"));
    WriteFile(m_application / "zqinet.opt", InternetBytes());
    EXPECT_EQ(Update(), 1);
    std::ostringstream context;
    context << "context " << static_cast<void*>(this);
    // All of the file but its last two bytes, which are not the updater's.
    const std::string settings = ToHex(InternetBytes().substr(0, 786));
    EXPECT_THAT(m_updater.Calls(),
                ElementsAre("ZQUpdateFromSite", "application \"" + m_application.Path() + "\"",
                            "download \"" + m_application.Path() + "download/\"", "administrator 0",
                            "reserved 1", "keep backup 0", "backup null",
                            "settings " + settings + "0000", "count 2", "address \"https://a/\"",
                            "address \"https://b/\"", "end of addresses",
                            "past the flag " + settings.substr(4), context.str(), "unloaded"));
    EXPECT_THAT(m_told, ElementsAre(1116));
}

TEST_F(ShellUpdate, TheServerGetsTheAdministratorsAddresses) {
    Prepare("result 1\n", kUpdateFromServer);
    WriteFile(kAdminLinks, Swapped(Padded(Padded("", 26) + "\x01", 554)) + AdminEntry("http://s"));
    WriteFile(m_application / "updlink.dat", Hex("00000000 0100") + UpdateRecord("https://a/"));
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(m_updater.Call("administrator "), "1");
    EXPECT_EQ(m_updater.Call("count "), "1");
    EXPECT_EQ(m_updater.Call("address "), "\"http://s\"");
    EXPECT_THAT(m_told, ElementsAre(1116));
}

TEST_F(ShellUpdate, TheInternetCentreWinsOverTheServer) {
    Prepare("result 1\n", kUpdateFromInternet | kUpdateFromServer);
    WriteFile(m_application / "updlink.dat", Hex("00000000 0100") + UpdateRecord("https://a/"));
    Update();
    EXPECT_EQ(m_updater.Call("administrator "), "0");
    EXPECT_EQ(m_updater.Call("address "), "\"https://a/\"");
}

TEST_F(ShellUpdate, AnUnreadableListIsTheUpdatersToJudge) {
    Prepare("result 0\n");
    WriteFile(m_application / "updlink.dat", Hex("00000000 0200") + UpdateRecord("https://a/"));
    EXPECT_EQ(Update(), 0);
    EXPECT_THAT(m_updater.Calls(), Contains("no addresses"));
    EXPECT_EQ(m_updater.Call("count "), "0");
    EXPECT_THAT(m_told, ElementsAre(1116));
}

TEST_F(ShellUpdate, AMissingAdministratorsListToo) {
    Prepare("result 0\n", kUpdateFromServer);
    EXPECT_EQ(Update(), 0);
    EXPECT_THAT(m_updater.Calls(), Contains("no addresses"));
    EXPECT_EQ(m_updater.Call("administrator "), "1");
    EXPECT_THAT(Log(), StartsWith("In CUpdate::GetURLsForAdmin:ReadUpdateInfo() Failed. Error("));
}

TEST_F(ShellUpdate, ABackupGoesWithItsFolder) {
    Prepare("result 1\n");
    WriteFile(m_application / "zqupdate.opt",
              OptionBytes(kUpdateFromInternet | kUpdateKeepBackup, "/p", "/backup"));
    Update();
    EXPECT_EQ(m_updater.Call("keep backup "), "1");
    EXPECT_EQ(m_updater.Call("backup "), "\"/backup\"");
}

TEST_F(ShellUpdate, WithoutTheFlagTheBackupFolderIsNotGiven) {
    Prepare("result 1\n");
    WriteFile(m_application / "zqupdate.opt", OptionBytes(kUpdateFromInternet, "", "/backup"));
    Update();
    EXPECT_EQ(m_updater.Call("keep backup "), "0");
    EXPECT_EQ(m_updater.Call("backup "), "null");
}

TEST_F(ShellUpdate, AFolderThatFillsItsFieldIsCutTo255) {
    Prepare("result 1\n");
    WriteFile(m_application / "zqupdate.opt",
              OptionBytes(kUpdateFromInternet | kUpdateKeepBackup, "", std::string(256, 'b')));
    Update();
    EXPECT_EQ(m_updater.Call("backup "), "\"" + std::string(255, 'b') + "\"");
}

TEST_F(ShellUpdate, APathGetsThreeArguments) {
    Prepare("result 1\n");
    WriteFile(m_application / "zqupdate.opt", OptionBytes(kUpdateKeepBackup, "/media/defs", "/b"));
    WriteFile(m_application / "zqinet.opt", InternetBytes());
    EXPECT_EQ(Update(), 1);
    EXPECT_THAT(m_updater.Calls(),
                ElementsAre("UpdateFromIndex", "application \"" + m_application.Path() + "\"",
                            "folder \"/media/defs\"",
                            "past the flag " + ToHex(InternetBytes().substr(2, 784)), "unloaded"));
    EXPECT_THAT(m_told, ElementsAre(1126, 1116));
}

TEST_F(ShellUpdate, AShortOptionFileCountsAsZeroFromThereOn) {
    Prepare("result 1\n");
    WriteFile(m_application / "zqupdate.opt", Hex("04 00"));  // neither Internet nor server
    Update();
    EXPECT_EQ(m_updater.Call("folder "), "\"\"");
}

TEST_F(ShellUpdate, WithoutWholeProxySettingsThereIsNoProxy) {
    for (const std::string& bytes : {std::string(), InternetBytes().substr(0, 787)}) {
        fs::remove(m_application / "updturl.so");
        Prepare("result 1\n");
        if (!bytes.empty()) {
            WriteFile(m_application / "zqinet.opt", bytes);
        }
        FakeUpdater updater;
        updater.SetScript("result 1\n");
        EXPECT_EQ(Update(), 1);
        EXPECT_EQ(updater.Call("settings "), std::string(788UL * 2, '0'));
        EXPECT_EQ(updater.Call("past the flag "), std::string(784UL * 2, '0'));
    }
}

TEST_F(ShellUpdate, TheOptionFileIsClosedToOtherWriters) {
    Prepare("result 1\n");
    ASSERT_EQ(::chmod((m_application / "zqupdate.opt").c_str(), 0666), 0);
    Update();
    EXPECT_EQ(ModeOf(m_application / "zqupdate.opt"), 0644U);
}

TEST_F(ShellUpdate, MakesTheDownloadFolderWithItsModeWhateverTheUmask) {
    Prepare("result 1\n");
    const mode_t before = ::umask(077);
    Update();
    ::umask(before);
    EXPECT_TRUE(fs::is_directory(m_application / "download"));
    EXPECT_EQ(ModeOf(m_application / "download"), 0755U);
}

TEST_F(ShellUpdate, LeavesADownloadFolderThatIsThereAsItIs) {
    Prepare("result 1\n");
    fs::create_directory(m_application / "download");
    ASSERT_EQ(::chmod((m_application / "download").c_str(), 0750), 0);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(ModeOf(m_application / "download"), 0750U);
}

// ---- What becomes of its result

class UpdaterResults : public ShellUpdate,
                       public ::testing::WithParamInterface<std::pair<int, int>> {};

TEST_P(UpdaterResults, OfASiteAreTheOutcome) {
    Prepare("result " + std::to_string(GetParam().first) + "\n");
    EXPECT_EQ(Update(), GetParam().second);
    EXPECT_EQ(g_siUpdateRetFlag, GetParam().second);
    EXPECT_THAT(m_told, ElementsAre(1116));
    EXPECT_EQ(m_updater.Calls().back(), "unloaded");
}

INSTANTIATE_TEST_SUITE_P(All, UpdaterResults,
                         ::testing::Values(std::pair(0, 0), std::pair(1, 1), std::pair(2, 2),
                                           std::pair(3, 3), std::pair(4, 4), std::pair(5, -1),
                                           std::pair(7, -1), std::pair(-1, -1),
                                           std::pair(65537, -1)));

TEST_F(ShellUpdate, AnUnknownResultIsAll16Bits) {
    Prepare("result 7\n");
    Update();
    EXPECT_EQ(std::bit_cast<std::uint16_t>(g_siUpdateRetFlag), 65535U);
}

TEST_F(ShellUpdate, OfAPathThreeSaysThatThereIsNothingValid) {
    for (const auto& [result, outcome] :
         {std::pair(3, 4), std::pair(0, 0), std::pair(2, 2), std::pair(4, 4), std::pair(9, -1)}) {
        fs::remove(m_application / "updturl.so");
        Prepare("result " + std::to_string(result) + "\n", 0);
        EXPECT_EQ(Update(), outcome) << result;
    }
}

TEST_F(ShellUpdate, BeforeItRunsItsOutcomeIsASuccess) {
    g_siUpdateRetFlag = 3;
    const update::UpdateRun run(*this, nullptr);
    EXPECT_EQ(g_siUpdateRetFlag, 1);
}

TEST_F(ShellUpdate, TheEntryPointsAreThereForTheRunOnly) {
    Prepare("status 2000\nresult 1\n");
    bool wereThere = false;
    m_onEvent = [&](UpdateEvent event) {
        if (event == kEvtUpdateConnecting) {
            wereThere = g_pfnZqUpdateFromSite != nullptr && g_pfnUpdateFromIndex != nullptr;
        } else {
            EXPECT_EQ(event, kEvtUpdateFinished);
            EXPECT_EQ(g_pfnZqUpdateFromSite, nullptr);
            EXPECT_EQ(m_updater.Calls().back(), "unloaded") << "told before it was unloaded";
        }
    };
    Update();
    EXPECT_TRUE(wereThere);
    EXPECT_EQ(g_pfnUpdateFromIndex, nullptr);
}

// ---- What keeps it from starting

TEST_F(ShellUpdate, WithoutADownloadFolderItDoesNotStart) {
    Prepare("result 0\n");
    WriteFile(m_application / "download", "in the way");
    EXPECT_EQ(Update(), 1);
    EXPECT_THAT(m_told, ElementsAre(1125));
    EXPECT_EQ(ProgramLog(), "In UpdateRun::Run(): folder (" + m_application.Path() +
                                "download/) not made: File exists\ndownload dir error\n");
    EXPECT_THAT(m_updater.Calls(), IsEmpty());
}

TEST_F(ShellUpdate, WithoutOptionsItDoesNotStart) {
    Prepare("result 0\n");
    fs::remove(m_application / "zqupdate.opt");
    EXPECT_EQ(Update(), 1);
    EXPECT_THAT(m_told, ElementsAre(1125));
    EXPECT_EQ(ProgramLog(), "In UpdateRun::Run(): file (" + m_application.Path() +
                                "zqupdate.opt) not opened: No such file or directory\n");
    EXPECT_THAT(m_updater.Calls(), IsEmpty());
    EXPECT_FALSE(m_run.IsSilent());
}

TEST_F(ShellUpdate, OptionsThatNobodyWritesKeepNobodyWaiting) {
    Prepare("result 0\n");
    fs::remove(m_application / "zqupdate.opt");
    ASSERT_EQ(::mkfifo((m_application / "zqupdate.opt").c_str(), 0666), 0);
    EXPECT_EQ(Update(), 1);
    EXPECT_THAT(m_told, ElementsAre(1125));
}

TEST_F(ShellUpdate, WithoutTheLibraryItTellsNothing) {
    Prepare("result 0\n");
    fs::remove(m_application / "updturl.so");
    EXPECT_FALSE(m_run.IsSilent());
    EXPECT_EQ(Update(), 1);
    EXPECT_THAT(m_told, IsEmpty());
    EXPECT_TRUE(m_run.IsSilent());
    EXPECT_EQ(ProgramLog(), "In UpdaterLibrary::Load(): no update with (" + m_application.Path() +
                                "updturl.so): No such file or directory\n");
    fs::remove("/zqcommon.log");
}

TEST_F(ShellUpdate, WithWhatIsNoLibraryItTellsNothing) {
    Prepare("result 0\n");
    WriteFile(m_application / "updturl.so.new", "#!/bin/sh\n");
    fs::rename(m_application / "updturl.so.new", m_application / "updturl.so");
    Update();
    EXPECT_THAT(m_told, IsEmpty());
    EXPECT_EQ(ProgramLog(), "In UpdaterLibrary::Load(): no update with (" + m_application.Path() +
                                "updturl.so): it is no library that loads\n");
    fs::remove("/zqcommon.log");
}

TEST_F(ShellUpdate, WithoutAnEntryPointItDoesNotStart) {
    const std::pair<const char*, const char*> kLacking[] = {{"without_site", "ZQUpdateFromSite"},
                                                            {"without_index", "UpdateFromIndex"}};
    for (const auto& [variant, symbol] : kLacking) {
        m_told.clear();
        Prepare("result 0\n");
        fs::remove(m_application / "updturl.so");
        FakeUpdater::Install(m_application.Path(), variant);
        EXPECT_EQ(Update(), 1) << variant;
        EXPECT_THAT(m_told, ElementsAre(1125)) << variant;
        EXPECT_THAT(m_updater.Calls(), Contains("unloaded")) << variant;
        EXPECT_THAT(ProgramLog(),
                    HasSubstr("In UpdaterLibrary::Load(): no update with (" + m_application.Path() +
                              "updturl.so): it has no " + symbol + "\n"));
        EXPECT_EQ(g_pfnZqUpdateFromSite, nullptr);
        EXPECT_EQ(g_pfnUpdateFromIndex, nullptr);
        fs::remove(m_application / "updturl.so");
    }
}

// ---- Who is told why it did not start

/// Of somebody whose program's log belongs to another user.
class StrangersUpdate : public ShellUpdate {
protected:
    void SetUp() override {
        ShellUpdate::SetUp();
        common::CopyToField(g_szLogFile, m_scratch / "missing/log");
        Prepare("result 0\n");
        (void)TakeNotedSyslog();
    }
};

TEST_F(StrangersUpdate, WithoutADownloadFolderIsInTheLogOfTheSystem) {
    WriteFile(m_application / "download", "in the way");
    Update();
    EXPECT_EQ(TakeNotedSyslog(), "13 corvane: In UpdateRun::Run(): folder (" +
                                     m_application.Path() +
                                     "download/) not made: File exists\n"
                                     "13 corvane: download dir error\n");
}

TEST_F(StrangersUpdate, WithoutOptionsIsInTheLogOfTheSystem) {
    fs::remove(m_application / "zqupdate.opt");
    Update();
    EXPECT_EQ(TakeNotedSyslog(), "13 corvane: In UpdateRun::Run(): file (" + m_application.Path() +
                                     "zqupdate.opt) not opened: No such file or directory\n");
}

TEST_F(StrangersUpdate, WithoutTheLibraryIsInTheLogOfTheSystem) {
    fs::remove(m_application / "updturl.so");
    Update();
    EXPECT_EQ(TakeNotedSyslog(), "13 corvane: In UpdaterLibrary::Load(): no update with (" +
                                     m_application.Path() +
                                     "updturl.so): No such file or directory\n");
    fs::remove("/zqcommon.log");
}

TEST_F(StrangersUpdate, ThatStartsSaysNothing) {
    Update();
    EXPECT_EQ(TakeNotedSyslog(), "");
}

// ---- What is thrown

TEST_F(ShellUpdate, AnExceptionOfTheUpdaterIsAFailureAndLogged) {
    Prepare("throw of a site\n");
    EXPECT_EQ(Update(), 0);
    EXPECT_THAT(m_told, ElementsAre(1116));
    EXPECT_EQ(ProgramLog(), "In UpdaterLibrary::UpdateFromSite(): ZQUpdateFromSite: of a site\n");
}

TEST_F(ShellUpdate, AnExceptionOfTheUpdaterFromAPathToo) {
    Prepare("throw of a path\n", 0);
    EXPECT_EQ(Update(), 0);
    EXPECT_THAT(m_told, ElementsAre(1126, 1116));
    EXPECT_EQ(ProgramLog(), "In UpdaterLibrary::UpdateFromIndex(): UpdateFromIndex: of a path\n");
}

TEST_F(ShellUpdate, AnExceptionOfItsOwnEndsItAsAFailure) {
    Prepare("result 1\n", 0);
    m_onEvent = [](UpdateEvent event) {
        if (event == kEvtUpdateFromPath) {
            throw std::runtime_error("no memory");
        }
    };
    EXPECT_EQ(Update(), 0);
    EXPECT_THAT(m_told, ElementsAre(1126, 1116));
    EXPECT_EQ(ProgramLog(), "In UpdateRun::Run(): no memory\n");
}

}  // namespace
