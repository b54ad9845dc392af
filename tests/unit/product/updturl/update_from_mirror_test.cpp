// Whole updates: the program's library, corvane-update with both its stages, and a web server.

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "abi/updturl.h"
#include "product/definitions/rollback.h"
#include "tests/support/mirror.h"
#include "tests/support/patient_clock.h"
#include "tests/support/scratch.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr char kLog[] = "/zqupdt.log";

/// A database that finds the text "own-test-a", or with another letter.
std::string Database(char letter) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string line = std::string("Own.Test.") + letter + ":0:*:";
    for (const char byte : std::string("own-test-") + letter) {
        line += kDigits[static_cast<unsigned char>(byte) >> 4U];
        line += kDigits[static_cast<unsigned char>(byte) & 15U];
    }
    return line + "\n";
}

class UpdateFromMirrorTest : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "root updates, in the sandbox";
        }
        ::unlink(kLog);
        for (const char* const folder : {"defs", "download", "updturl.keys"}) {
            fs::create_directories(m_product + folder);
        }
        ::chmod(m_folder.Path().c_str(), 0755);
        WriteFile(m_product + "updturl.keys/mirror.pub", kMirrorPublicKey);
        fs::copy_file(UPDTURL_LIBRARY, m_product + "updturl.so");
        fs::copy_file(CORVANE_UPDATE, m_product + "updater");
        UseProgram("exec " + m_product + "updater --as-caller \"$@\"");
        m_library.reset(::dlopen((m_product + "updturl.so").c_str(), RTLD_NOW | RTLD_LOCAL));
        ASSERT_NE(m_library, nullptr) << ::dlerror();
    }

    /// What the library starts.
    void UseProgram(const std::string& command) {
        const std::string path = m_product + "corvane-update";
        WriteFile(path, "#!/bin/sh\n" + command + "\n");
        ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
    }

    void Publish(std::uint64_t serial, std::vector<std::pair<std::string, std::string>> files) {
        MirrorContents contents;
        contents.serial = serial;
        contents.files = std::move(files);
        WriteMirror(m_server.Root(), contents);
    }

    static int Watch(const tagUPDATEINFO* info, void* context) {
        auto& self = *static_cast<UpdateFromMirrorTest*>(context);
        self.m_toldAt.push_back(PatientClock::now());
        self.m_statuses.push_back(info->status);
        if (info->status == self.m_stopAt) {
            self.m_stopped = true;
        }
        return self.m_stopped ? kUpdateStop : kUpdateGoOn;
    }

    int Update() { return Update({m_server.Address()}); }

    int Update(std::vector<std::string> texts) {
        m_statuses.clear();
        m_toldAt.clear();
        std::vector<char*> list;
        list.reserve(texts.size());
        for (std::string& text : texts) {
            list.push_back(text.data());
        }
        const auto update =
            reinterpret_cast<PFNZQUPDATEFROMSITE>(::dlsym(m_library.get(), kUpdateFromSite));
        const int result =
            update(m_product.c_str(), (m_product + "download/").c_str(), 0, 1,
                   m_backup.empty() ? 0 : 1, m_backup.empty() ? nullptr : m_backup.c_str(), nullptr,
                   list.data(), static_cast<std::int32_t>(list.size()), &Watch, this, nullptr);
        return result;
    }

    /// The processes that run the program of this test's own product.
    [[nodiscard]] std::vector<pid_t> Running() const {
        std::vector<pid_t> running;
        for (const auto& entry : fs::directory_iterator("/proc")) {
            std::error_code ignored;
            const auto program = fs::read_symlink(entry.path() / "exe", ignored);
            if (program == m_product + "updater") {
                running.push_back(std::stoi(entry.path().filename().string()));
            }
        }
        return running;
    }

    [[nodiscard]] std::string Current(const std::string& name) const {
        return ReadFile(m_product + "defs/current/" + name);
    }

    [[nodiscard]] bool WasTold(int status) const {
        return std::find(m_statuses.begin(), m_statuses.end(), status) != m_statuses.end();
    }

    /// Until the stage that downloads has asked the server, which may keep it waiting.
    void WaitForTheIndexRequest() const {
        EXPECT_TRUE(WaitUntil([this] { return m_server.CountOf("/index.json") > 0; }, 60s));
    }

    struct Unload {
        void operator()(void* library) const { ::dlclose(library); }
    };
    ScratchFolder m_folder;
    std::string m_product = m_folder / "product/";
    std::string m_backup;
    MirrorServer m_server;
    std::unique_ptr<void, Unload> m_library;
    std::vector<int> m_statuses;
    std::vector<PatientClock::time_point> m_toldAt;
    std::atomic<int> m_stopAt = 0;  ///< also set from beside the update
    bool m_stopped = false;
};

TEST_F(UpdateFromMirrorTest, NewDefinitionsAreDownloadedAndPutIntoUse) {
    Publish(1, {{"own.ndb", Database('a')}});
    EXPECT_EQ(Update(), kUpdaterUpdated) << ReadFile(kLog);
    EXPECT_EQ(Current("own.ndb"), Database('a'));
    EXPECT_TRUE(WasTold(2000));
    EXPECT_TRUE(WasTold(2003));
    EXPECT_TRUE(WasTold(2015));
    EXPECT_EQ(Update(), kUpdaterUpToDate) << ReadFile(kLog);
    EXPECT_EQ(fs::read_symlink(m_product + "defs/current"), "set-1");
    Publish(2, {{"own.ndb", Database('b')}});
    EXPECT_EQ(Update(), kUpdaterUpdated) << ReadFile(kLog);
    EXPECT_EQ(Current("own.ndb"), Database('b'));
}

TEST_F(UpdateFromMirrorTest, TheNextAddressIsTriedWhenOneFails) {
    Publish(1, {{"own.ndb", Database('a')}});
    EXPECT_EQ(Update({"http://127.0.0.1:1/", m_server.Address()}), kUpdaterUpdated)
        << ReadFile(kLog);
}

TEST_F(UpdateFromMirrorTest, AnUnknownSignatureIsRefusedAndTheOldSetStays) {
    Publish(1, {{"own.ndb", Database('a')}});
    ASSERT_EQ(Update(), kUpdaterUpdated) << ReadFile(kLog);
    Publish(2, {{"own.ndb", Database('b')}});
    fs::remove(m_product + "updturl.keys/mirror.pub");
    EXPECT_EQ(Update(), kUpdaterInvalidFiles);
    EXPECT_TRUE(WasTold(2004));
    EXPECT_EQ(Current("own.ndb"), Database('a'));
    EXPECT_NE(ReadFile(m_product + "defs/last-update.json").find("\"result\": 4"),
              std::string::npos);
}

// Rightly signed, it is the updater itself that finds out.
TEST_F(UpdateFromMirrorTest, WhatCannotBeLoadedIsRefusedAndTheOldSetStays) {
    Publish(1, {{"own.ndb", Database('a')}});
    ASSERT_EQ(Update(), kUpdaterUpdated) << ReadFile(kLog);
    const std::string useless = "no signature at all\n";
    Publish(2, {{"own.ndb", useless}});
    for (int run = 0; run < 2; ++run) {
        m_statuses.clear();
        EXPECT_EQ(Update(), kUpdaterInvalidFiles) << ReadFile(kLog);
        EXPECT_TRUE(WasTold(2004));
        EXPECT_EQ(Current("own.ndb"), Database('a'));
    }
    EXPECT_EQ(m_server.CountOf("/files/" + Sha256Text(useless)), 1U) << "it is known by then";
}

TEST_F(UpdateFromMirrorTest, WhatWasGoneBackFromIsNotLoadedAgain) {
    for (const char version : {'a', 'b'}) {
        Publish(static_cast<unsigned char>(version), {{"own.ndb", Database(version)}});
        ASSERT_EQ(Update(), kUpdaterUpdated) << ReadFile(kLog);
        ASSERT_EQ(Update(), kUpdaterUpToDate) << ReadFile(kLog);
    }
    ASSERT_EQ(definitions::RollBack(m_product).outcome, definitions::Outcome::kInstalled);
    m_server.ForgetRequests();
    for (int run = 0; run < 3; ++run) {
        EXPECT_EQ(Update(), kUpdaterUpToDate) << ReadFile(kLog);
    }
    EXPECT_EQ(Current("own.ndb"), Database('a'));
    EXPECT_EQ(m_server.CountOf("/files/" + Sha256Text(Database('b'))), 1U) << "then it is known";
}

TEST_F(UpdateFromMirrorTest, WhileAServerIsSilentTheCallbackIsToldFourTimesASecond) {
    Publish(1, {{"own.ndb", Database('a')}});
    m_server.Script({{"/index.json", R"({"do": "hang"})"}});
    PatientClock::time_point stopped;
    std::thread stop([&] {
        WaitForTheIndexRequest();
        std::this_thread::sleep_for(2s);
        stopped = PatientClock::now();
        m_stopAt = 2003;
    });
    EXPECT_EQ(Update(), kUpdaterInterrupted) << ReadFile(kLog);
    const auto ended = PatientClock::now();
    stop.join();
    EXPECT_LT(ended - stopped, 400ms);
    for (std::size_t call = 1; call < m_toldAt.size(); ++call) {
        EXPECT_LT(m_toldAt[call] - m_toldAt[call - 1], 250ms);
    }
    EXPECT_EQ(Current("own.ndb"), "");
}

TEST_F(UpdateFromMirrorTest, AStopInTheMiddleOfADownloadLeavesNothingRunning) {
    Publish(1, {{"own.ndb", Database('a') + std::string(200'000, '#')}});
    m_server.Script({});
    MirrorContents contents;
    contents.files = {{"own.ndb", Database('a') + std::string(200'000, '#')}};
    const std::string file = "/files/" + Sha256Text(contents.files[0].second);
    m_server.Script({{file, R"({"do": "slow", "piece": 100, "pause": 0.1})"}});
    m_stopAt = 2006;
    const int result = Update();
    EXPECT_EQ(result, kUpdaterInterrupted) << ReadFile(kLog);
    EXPECT_EQ(Running(), std::vector<pid_t>{});
    m_stopAt = 0;
    m_stopped = false;
    m_server.Script({});
    EXPECT_EQ(Update(), kUpdaterUpdated) << ReadFile(kLog);
}

TEST_F(UpdateFromMirrorTest, ChildrenThatAreKilledFailTheUpdateAndTheNextOneWorks) {
    Publish(1, {{"own.ndb", Database('a')}});
    m_server.Script({{"/index.json", R"({"do": "hang"})"}});
    std::size_t count = 0;
    std::thread kills([&] {
        WaitForTheIndexRequest();
        for (const pid_t process : Running()) {
            ::kill(process, SIGKILL);
            ++count;
        }
    });
    EXPECT_EQ(Update(), kUpdaterFailed);
    kills.join();
    EXPECT_GE(count, 2U);
    EXPECT_NE(ReadFile(kLog).find("Update: the updater ended without a result\n"),
              std::string::npos);
    m_server.Script({});
    EXPECT_EQ(Update(), kUpdaterUpdated) << ReadFile(kLog);
}

TEST_F(UpdateFromMirrorTest, TheProxyOfTheEnvironmentIsNotUsed) {
    Publish(1, {{"own.ndb", Database('a')}});
    ::setenv("http_proxy", "http://127.0.0.1:1", 1);
    ::setenv("all_proxy", "http://127.0.0.1:1", 1);
    EXPECT_EQ(Update(), kUpdaterUpdated) << ReadFile(kLog);
    ::unsetenv("http_proxy");
    ::unsetenv("all_proxy");
}

TEST_F(UpdateFromMirrorTest, TheFilesAreKeptInTheBackupFolderToo) {
    Publish(1, {{"own.ndb", Database('a')}});
    m_backup = "/corvane-test-backup";  // others may write to /tmp
    fs::create_directories(m_backup);
    EXPECT_EQ(Update(), kUpdaterUpdated) << ReadFile(kLog);
    std::string kept;
    for (const auto& folder : fs::directory_iterator(m_backup)) {
        kept += ReadFile(folder.path().string() + "/own.ndb");
    }
    EXPECT_EQ(kept, Database('a')) << ReadFile(kLog);
}

/// Takes the users out of the private root; `which` begins their names.
void ForgetUsers(const std::string& which) {
    ASSERT_EQ(
        std::system(
            ("sed -i '/^" + which + "/d' /etc/passwd /etc/shadow /etc/group /etc/gshadow").c_str()),
        0);
}

TEST_F(UpdateFromMirrorTest, RootWithoutTheUsersTouchesNothingThatIsDownloaded) {
    ForgetUsers("corvane");
    UseProgram("exec " + m_product + "updater \"$@\"");
    Publish(1, {{"own.ndb", Database('a')}});
    EXPECT_EQ(Update(), kUpdaterFailed);
    EXPECT_EQ(ReadFile(kLog), "Update: root does not update by itself: there is no user corvane\n");
    EXPECT_EQ(m_server.Requests(), std::vector<std::string>{});
    EXPECT_EQ(Current("own.ndb"), "");
    for (const std::string stage : {"fetch", "test"}) {
        const std::string heard = m_folder / stage;
        std::string command = m_product + "updater --";
        command.append(stage).append(" </dev/null >").append(heard);
        EXPECT_NE(std::system(command.c_str()), 0);
        EXPECT_EQ(ReadFile(heard), stage == "test"
                                       ? "test failed root does not update by itself: there is "
                                         "no user corvane\n"
                                       : "log root does not update by itself: there is no user "
                                         "corvane\nresult 0\n");
    }
}

/// The two users of the updater, in the private root.
class UsersTest : public UpdateFromMirrorTest {
protected:
    void SetUp() override {
        UpdateFromMirrorTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        for (const char* const make :
             {"getent passwd corvane >/dev/null || useradd --system --no-create-home --user-group "
              "--shell /usr/sbin/nologin corvane",
              "getent passwd corvane-fetch >/dev/null || useradd --system --no-create-home "
              "--user-group --shell /usr/sbin/nologin corvane-fetch"}) {
            if (std::system(make) != 0) {
                GTEST_SKIP() << "no user can be made here";
            }
        }
        UseProgram("exec " + m_product + "updater \"$@\"");
        ASSERT_EQ(std::system(("chown corvane:corvane " + m_product +
                               "defs && chown "
                               "corvane-fetch:corvane " +
                               m_product + "download && chmod 2750 " + m_product + "download")
                                  .c_str()),
                  0);
    }
};

TEST_F(UsersTest, OneUserDownloadsAndAnotherInstalls) {
    Publish(1, {{"own.ndb", Database('a')}});
    EXPECT_EQ(Update(), kUpdaterUpdated) << ReadFile(kLog);
    EXPECT_EQ(Current("own.ndb"), Database('a'));
    EXPECT_NE(ReadFile(kLog).find("Update: downloading as corvane-fetch, without new privileges, "
                                  "limited, "),
              std::string::npos)
        << ReadFile(kLog);
    EXPECT_EQ(std::system(("test \"$(find " + m_product + "defs ! -user corvane)\" = ''").c_str()),
              0);
    EXPECT_EQ(
        std::system(
            ("test \"$(find " + m_product + "download ! -user corvane-fetch)\" = ''").c_str()),
        0);
}

TEST_F(UsersTest, OneOfThemAloneIsNotEnough) {
    ForgetUsers("corvane-fetch");
    Publish(1, {{"own.ndb", Database('a')}});
    EXPECT_EQ(Update(), kUpdaterFailed);
    EXPECT_EQ(ReadFile(kLog),
              "Update: root does not update by itself: there is no user corvane-fetch\n");
    EXPECT_EQ(m_server.Requests(), std::vector<std::string>{});
}

TEST_F(UsersTest, TheServiceOfSystemdNamesTheOneThatIsMissing) {
    fs::create_directories("/run/systemd/system");
    const std::string heard = m_folder / "heard";
    EXPECT_NE(std::system(("printf 'source site\nadministrator 1\naddress " + m_server.Address() +
                           "\napplication " + m_product + "\ndownload " + m_product +
                           "download/\nproxy-port 0\ngo\n' | setpriv --reuid corvane --regid "
                           "corvane --clear-groups " +
                           m_product + "updater >" + heard)
                              .c_str()),
              0);
    fs::remove_all("/run/systemd");
    EXPECT_EQ(ReadFile(heard),
              "log the process that downloads cannot be started: corvane-fetch.socket is not "
              "running\nresult 0\n");
    EXPECT_EQ(m_server.Requests(), std::vector<std::string>{});
}

TEST_F(UsersTest, AStopEndsTheStageOfTheOtherUserToo) {
    Publish(1, {{"own.ndb", Database('a')}});
    m_server.Script({{"/index.json", R"({"do": "hang"})"}});
    m_stopAt = 2003;
    EXPECT_EQ(Update(), kUpdaterInterrupted) << ReadFile(kLog);
    EXPECT_TRUE(WaitUntil([this] { return Running().empty(); }));
}

}  // namespace
