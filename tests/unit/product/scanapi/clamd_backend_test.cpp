// Plain files scanned by a clamd: by a real one, and by one that answers whatever a test wants.

#include "product/scanapi/clamd_backend.h"

#include <atomic>
#include <gtest/gtest.h>

#include "common/log.h"
#include "tests/support/scratch.h"
#include "tests/support/server_process.h"
#include "tests/unit/product/scanapi/fake_clamd.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using scanapi::ClamdBackend;
using scanapi::ClamdLog;
using scanapi::ClamdPatience;
using scanapi::ClamdSettings;
using scanning::ScanOutcome;
using scanning::ScanProfile;
using scanning::Verdict;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr ClamdPatience kShort{.connecting = milliseconds(2000),
                               .beyondItsBound = milliseconds(300),
                               .pause = milliseconds(0)};
constexpr ClamdPatience kLong{.connecting = milliseconds(60'000),
                              .beyondItsBound = milliseconds(60'000),
                              .pause = milliseconds(0)};

class ClamdBackendTest : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "writes /zqcommon.log: runs in tests/support/sandbox only";
        }
        if (geteuid() != 0) {
            GTEST_SKIP() << "the settings of a clamd are believed of root only";
        }
        fs::remove(common::kCommonLog);
    }
    [[nodiscard]] ClamdSettings Settings(const std::string& config = "") const {
        WriteFile(m_config, "LocalSocket " + m_socket + "\n" + config);
        return {.isOn = true, .socket = {}, .address = {}, .config = m_config};
    }
    [[nodiscard]] ClamdBackend Backend(const std::string& config = "",
                                       const ClamdPatience& patience = kLong) const {
        return {Settings(config), std::make_shared<ClamdLog>(), patience};
    }
    // As "verdict virus (reason)".
    [[nodiscard]] std::string Scan(ClamdBackend& backend, const std::string& content,
                                   const ScanProfile& profile = {}) const {
        return Scan(backend, content, profile, [] { return false; });
    }
    [[nodiscard]] std::string Scan(ClamdBackend& backend, const std::string& content,
                                   const ScanProfile& profile,
                                   const scanapi::StopWanted& isStopWanted) const {
        WriteFile(m_folder / "file", content);
        const common::FileDescriptor file(::open((m_folder / "file").c_str(), O_RDONLY));
        return Text(
            backend.Scan(file.Get(), std::as_bytes(std::span(content)), profile, isStopWanted));
    }
    [[nodiscard]] std::string Scan(ClamdBackend& backend) const {
        return Scan(backend, "hello world");
    }
    static std::string Text(const std::optional<ScanOutcome>& outcome) {
        if (!outcome) {
            return "own worker";
        }
        EXPECT_EQ(outcome->member, "");
        switch (outcome->verdict) {
            case Verdict::Clean:
                return "clean" + outcome->virusName + outcome->reason;
            case Verdict::Infected:
                return "infected " + outcome->virusName + outcome->reason;
            case Verdict::Unreadable:
                return "unreadable: " + outcome->reason + outcome->virusName;
            case Verdict::Stopped:
                return "stopped" + outcome->virusName + outcome->reason;
            default:
                return "?";
        }
    }
    static void ExpectLogged(const std::string& lines) {
        EXPECT_EQ(ReadFile(common::kCommonLog), lines);
        fs::remove(common::kCommonLog);
    }
    ScratchFolder m_folder;
    std::string m_socket = m_folder / "socket";
    std::string m_config = m_folder / "clamd.conf";
};

TEST_F(ClamdBackendTest, OneSessionServesManyFiles) {
    const FakeClamd fake(m_socket, {[](int socket) {
                             EXPECT_EQ(FakeClamd::TakeRequest(socket), "hello");
                             FakeClamd::Say(socket, "1: fd[10]: OK\0"s);
                             EXPECT_EQ(FakeClamd::TakeRequest(socket, false), "hello");
                             FakeClamd::Say(socket, "2: fd[");
                             FakeClamd::Say(socket, "10]: Bad.Thing FOUND\0"s);
                             FakeClamd::TakeRequest(socket, false);
                             FakeClamd::Say(socket, "3: fd[10]: OK\0"s);
                         }});
    ClamdBackend backend = Backend();
    EXPECT_EQ(Scan(backend), "clean");
    EXPECT_EQ(Scan(backend), "infected Bad.Thing");
    EXPECT_EQ(Scan(backend), "clean");
    ExpectLogged("");
}

TEST_F(ClamdBackendTest, AWrongAnswerCostsTheFileAndTheSession) {
    const std::string why = "clamd gave no answer that could be understood";
    for (const std::string& answer :
         {"2: fd[10]: OK\0"s, "fd[10]: OK\0"s, "\0"s, "1: fd[10]: \x1B[2J FOUND\0"s,
          "1: fd[10]: OK\0"
          "2: fd[10]: OK\0"s,
          std::string(100'000, 'x')}) {
        const FakeClamd fake(
            m_socket, {FakeClamd::Answering(answer), FakeClamd::Answering("1: fd[9]: OK\0"s)});
        ClamdBackend backend = Backend();
        EXPECT_EQ(Scan(backend), "unreadable: " + why) << answer;
        EXPECT_EQ(Scan(backend), "clean") << answer;
        ExpectLogged("scanapi: " + why + "\n");
        fs::remove(m_socket);
    }
}

TEST_F(ClamdBackendTest, WhatOneThatGoesAwayLeavesIsScannedByOurs) {
    for (const std::string& answer : {"1: fd[10]: OK"s, "1"s, ""s}) {
        const FakeClamd fake(
            m_socket, {FakeClamd::Answering(answer), FakeClamd::Answering("1: fd[9]: OK\0"s)});
        ClamdBackend backend = Backend();
        EXPECT_EQ(Scan(backend), "own worker") << answer;
        EXPECT_EQ(Scan(backend), "clean");
        ExpectLogged("scanapi: clamd broke off\n");
        fs::remove(m_socket);
    }
}

TEST_F(ClamdBackendTest, WhatGoesWrongEachTimeIsLoggedOnce) {
    const FakeClamd fake(m_socket,
                         {FakeClamd::Answering(""), FakeClamd::Answering(""),
                          FakeClamd::Answering("1: fd[9]: OK\0"s), FakeClamd::Answering("")});
    ClamdBackend backend = Backend();
    EXPECT_EQ(Scan(backend), "own worker");
    EXPECT_EQ(Scan(backend), "own worker");
    ExpectLogged("scanapi: clamd broke off\n");
    EXPECT_EQ(Scan(backend), "clean");
    EXPECT_EQ(Scan(backend), "own worker");
    ExpectLogged("scanapi: clamd broke off\n");
}

TEST_F(ClamdBackendTest, NobodyIsWaitedForWithoutEnd) {
    std::atomic<bool> isOver = false;
    const FakeClamd fake(m_socket, {[](int socket) {
                                        FakeClamd::TakeRequest(socket);
                                        FakeClamd::Hang(socket);
                                    },
                                    [&](int socket) {
                                        FakeClamd::TakeRequest(socket);
                                        // A byte from time to time is no answer either.
                                        for (int i = 0; i < 1000 && !isOver; ++i) {
                                            FakeClamd::Say(socket, "1");
                                            std::this_thread::sleep_for(milliseconds(20));
                                        }
                                    }});
    ClamdBackend backend = Backend("MaxScanTime 300", kShort);
    for (int i = 0; i < 2; ++i) {
        const auto begun = steady_clock::now();
        EXPECT_EQ(Scan(backend), "unreadable: clamd took too long");
        EXPECT_GE(steady_clock::now() - begun, milliseconds(600));
    }
    ExpectLogged("scanapi: clamd took too long\n");
    isOver = true;
}

TEST_F(ClamdBackendTest, OneThatTookTooLongIsLeftAloneForSomeTime) {
    const FakeClamd fake(m_socket, {[](int socket) {
                                        FakeClamd::TakeRequest(socket);
                                        FakeClamd::Hang(socket);
                                    },
                                    FakeClamd::Answering("1: fd[9]: OK\0"s)});
    ClamdPatience patience = kShort;
    patience.pause = std::chrono::hours(1);
    ClamdBackend backend = Backend("MaxScanTime 10", patience);
    EXPECT_EQ(Scan(backend), "unreadable: clamd took too long");
    EXPECT_EQ(Scan(backend), "own worker");
}

TEST_F(ClamdBackendTest, AStopIsHeededAtOnce) {
    constexpr int kTries = 10;
    steady_clock::duration quickest = std::chrono::hours(1);
    for (int i = 0; i < kTries; ++i) {
        std::atomic<bool> stop = false;
        std::atomic<steady_clock::time_point> asked{};
        const FakeClamd fake(m_socket, {[&](int socket) {
                                 FakeClamd::TakeRequest(socket);
                                 asked = steady_clock::now();
                                 stop = true;
                                 FakeClamd::Hang(socket);
                             }});
        ClamdBackend backend = Backend();
        EXPECT_EQ(Scan(backend, "hello world", {}, [&] { return stop.load(); }), "stopped");
        quickest = std::min(quickest, steady_clock::now() - asked.load());
        fs::remove(m_socket);
    }
    EXPECT_LT(quickest, milliseconds(100));
    ExpectLogged("");
}

TEST_F(ClamdBackendTest, AStopIsHeededByOneWhoReadsNothing) {
    const FakeClamd fake(m_socket, {[](int socket) { FakeClamd::Hang(socket); }});
    ClamdBackend backend = Backend();
    EXPECT_EQ(Scan(backend, "hello world", {}, [] { return true; }), "stopped");
}

TEST_F(ClamdBackendTest, ASessionThatEndedMeanwhileBeginsAnew) {
    const FakeClamd fake(
        m_socket, {FakeClamd::Answering("1: fd[9]: OK\0"s), FakeClamd::Answering("1: fd[9]: OK\0"s),
                   FakeClamd::Answering("1: fd[9]: X FOUND\0"s)});
    ClamdBackend backend = Backend();
    EXPECT_EQ(Scan(backend), "clean");
    EXPECT_EQ(Scan(backend), "clean");
    EXPECT_EQ(Scan(backend), "infected X");
    ExpectLogged("");
}

TEST_F(ClamdBackendTest, EachSessionIsHeldToTheSettingsOfItsTime) {
    const FakeClamd fake(m_socket, {FakeClamd::Answering("1: fd[9]: OK\0"s),
                                    FakeClamd::Answering("1: fd[9]: OK\0"s)});
    ClamdBackend backend = Backend();
    EXPECT_EQ(Scan(backend), "clean");
    WriteFile(m_config, "LocalSocket " + m_socket + "\nScanELF no\n");
    EXPECT_EQ(Scan(backend), "own worker") << "the session was over, and the next would not do";
    ExpectLogged("scanapi: clamd is not used: its ScanELF is not as it has to be\n");
    // The script of the second connection still waits for one.
    ClamdBackend other = Backend();
    EXPECT_EQ(Scan(other), "clean");
}

TEST_F(ClamdBackendTest, WithoutOneOurWorkerScans) {
    ClamdBackend backend = Backend();
    EXPECT_EQ(Scan(backend), "own worker");
    EXPECT_EQ(Scan(backend), "own worker");
    ExpectLogged("scanapi: clamd cannot be reached: No such file or directory\n");
    {
        const FakeClamd fake(m_socket, {FakeClamd::Answering("1: fd[9]: OK\0"s)});
        EXPECT_EQ(Scan(backend), "clean");
    }
    fs::remove(m_socket);
    // The old session is gone, and nobody is there for a new one.
    EXPECT_EQ(Scan(backend), "own worker");
    EXPECT_EQ(Scan(backend), "own worker");
    ExpectLogged("scanapi: clamd cannot be reached: No such file or directory\n");
}

TEST_F(ClamdBackendTest, WhatItCouldNotDoIsUnreadable) {
    const FakeClamd fake(m_socket,
                         {FakeClamd::Answering("1: fd[9]: Can't allocate memory ERROR\0"s),
                          FakeClamd::Answering("1: fd[9]: Heuristics.Limits.Exceeded.X FOUND\0"s)});
    ClamdBackend backend = Backend();
    EXPECT_EQ(Scan(backend), "unreadable: clamd did not scan: fd[9]: Can't allocate memory");
    ExpectLogged("scanapi: clamd did not scan: fd[9]: Can't allocate memory\n");
    EXPECT_EQ(Scan(backend), "unreadable: it is beyond the bounds of clamd");
    ExpectLogged("");
}

TEST_F(ClamdBackendTest, CleanAfterItsTimeWasUpIsUnreadable) {
    const FakeClamd fake(m_socket, {[](int socket) {
                             FakeClamd::TakeRequest(socket);
                             std::this_thread::sleep_for(milliseconds(60));
                             FakeClamd::Say(socket, "1: fd[9]: OK\0"s);
                             FakeClamd::TakeRequest(socket, false);
                             std::this_thread::sleep_for(milliseconds(60));
                             FakeClamd::Say(socket, "2: fd[9]: X FOUND\0"s);
                         }});
    ClamdBackend backend = Backend("MaxScanTime 50");
    EXPECT_EQ(Scan(backend), "unreadable: it is beyond the bounds of clamd");
    EXPECT_EQ(Scan(backend), "infected X");
}

TEST_F(ClamdBackendTest, WhatIsLargerThanItReadsIsNotAsked) {
    const FakeClamd fake(m_socket, {[](int socket) { FakeClamd::Hang(socket); }});
    ClamdBackend backend = Backend("MaxFileSize 10");
    EXPECT_EQ(Scan(backend), "unreadable: it is beyond the bounds of clamd");
    ExpectLogged("");
}

TEST_F(ClamdBackendTest, WhatMayHoldFilesIsNotAsked) {
    const FakeClamd fake(m_socket, {[](int socket) { FakeClamd::Hang(socket); }});
    ClamdBackend backend = Backend();
    EXPECT_EQ(Scan(backend, "PK\x03\x04 and so on"), "own worker");
    ExpectLogged("");
}

TEST_F(ClamdBackendTest, AFindThatNobodyAskedForHidesNothing) {
    const FakeClamd fake(m_socket, {[](int socket) {
                             FakeClamd::TakeRequest(socket);
                             FakeClamd::Say(socket, "1: fd[9]: PUA.Win.X FOUND\0"s);
                             FakeClamd::TakeRequest(socket, false);
                             FakeClamd::Say(socket, "2: fd[9]: Heuristics.Broken.X FOUND\0"s);
                             FakeClamd::TakeRequest(socket, false);
                             FakeClamd::Say(socket, "3: fd[9]: PUA.Win.X FOUND\0"s);
                         }});
    ClamdBackend backend = Backend("DetectPUA yes\n");
    EXPECT_EQ(Scan(backend), "own worker");
    EXPECT_EQ(Scan(backend), "own worker") << "a switch of its own, which ours need not have";
    EXPECT_EQ(Scan(backend, "hello world", {.unwanted = true}), "infected PUA.Win.X");
}

TEST_F(ClamdBackendTest, ItIsOnlyUsedWhenItsSettingsAllowIt) {
    const auto isRefused = [&](const std::string& text, mode_t mode = 0644) {
        WriteFile(m_config, text);
        EXPECT_EQ(chmod(m_config.c_str(), mode), 0);
        ClamdBackend backend({.isOn = true, .socket = {}, .address = {}, .config = m_config},
                             std::make_shared<ClamdLog>(), kShort);
        return Scan(backend) == "own worker";
    };
    EXPECT_TRUE(isRefused(""));
    ExpectLogged("scanapi: clamd is not used: it has no LocalSocket\n");
    EXPECT_TRUE(isRefused("LocalSocket " + m_socket + "\nScanELF no\n"));
    ExpectLogged("scanapi: clamd is not used: its ScanELF is not as it has to be\n");
    EXPECT_TRUE(isRefused("LocalSocket " + m_socket + "\n", 0666));
    ExpectLogged("scanapi: clamd is not used: (" + m_config +
                 ") it is not root's, or others may write to it\n");
    const FakeClamd fake(m_socket, {FakeClamd::Answering("1: fd[9]: OK\0"s)});
    WriteFile(m_folder / "other.conf", "");
    ClamdBackend named(
        {.isOn = true, .socket = m_socket, .address = {}, .config = m_folder / "other.conf"},
        std::make_shared<ClamdLog>(), kShort);
    EXPECT_EQ(Scan(named), "clean") << "a socket of its own setting";
}

// Listens as `user` until the pipe is closed.
pid_t ListenAs(const std::string& path, uid_t user, int ready) {
    return StartChild([=] {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.data(), path.size());
        const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if (::setresuid(user, user, user) != 0 ||
            ::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
            ::listen(listener, 5) != 0 || ::write(ready, "x", 1) != 1) {
            return 1;
        }
        ::pause();
        return 0;
    });
}

TEST_F(ClamdBackendTest, NobodyElseWhoListensThereIsGivenAFile) {
    constexpr uid_t kNobody = 65534;
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0777), 0);
    std::array<int, 2> ready{};
    ASSERT_EQ(::pipe(ready.data()), 0);
    const pid_t listener = ListenAs(m_socket, kNobody, ready[1]);
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ClamdBackend backend = Backend();
    EXPECT_EQ(Scan(backend), "own worker");
    ExpectLogged("scanapi: clamd cannot be reached: Operation not permitted\n");
    // Its own user may: then it hangs, which a stop ends.
    ClamdBackend named = Backend("User nobody\n");
    int looks = 0;
    EXPECT_EQ(Scan(named, "hello world", {}, [&] { return ++looks > 3; }), "stopped");
    ::kill(listener, SIGKILL);
    JoinChild(listener);
    ::close(ready[0]);
    ::close(ready[1]);
}

TEST_F(ClamdBackendTest, AnAddressIsOnlyNumbers) {
    for (const char* address :
         {"localhost:3310", "127.0.0.1", "127.0.0.1:", ":3310", "[::1]", "127.0.0.1:http", "x"}) {
        ClamdBackend backend({.isOn = true, .socket = {}, .address = address},
                             std::make_shared<ClamdLog>(), kShort);
        EXPECT_EQ(Scan(backend), "own worker") << address;
        ExpectLogged("scanapi: clamd cannot be reached: Invalid argument\n");
    }
}

// A real one, with our signatures.
class RealClamd : public ClamdBackendTest {
protected:
    void SetUp() override {
        ClamdBackendTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (::access("/usr/sbin/clamd", X_OK) != 0) {
            GTEST_SKIP() << "clamd is missing";
        }
        fs::create_directory(m_folder / "db");
        fs::copy(SCANAPI_DEFS "/corvane.ldb", m_folder / "db");
        m_port = FreePort();
        m_text = "DatabaseDirectory " + (m_folder / "db") +
                 "\nForeground yes\nExtendedDetectionInfo yes\nMaxFileSize 500K\nTCPSocket " +
                 std::to_string(m_port) + "\nTCPAddr 127.0.0.1\nTemporaryDirectory " +
                 m_folder.Path() + "\n";
        (void)Settings(m_text);
        Begin();
    }
    void Begin() {
        m_server.Start({"/usr/sbin/clamd", "-c", m_config});
        ASSERT_TRUE(WaitForPort(m_port));
        ASSERT_TRUE(WaitUntil([this] { return Exists(m_socket); }));
    }
    // All that is to be told of one that is well.
    void ExpectToDo(ClamdBackend& backend) {
        const std::string eicar =
            "X5O!P%@AP[4\\PZX54(P^)7CC)7}$"
            "EICAR-STANDARD-ANTIVIRUS-TEST-FILE!$H+H*";
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(Scan(backend, eicar), "infected Eicar-Test-Signature.UNOFFICIAL");
            EXPECT_EQ(Scan(backend, "nothing bad"), "clean");
        }
        std::string large =
            "\x7F"
            "ELF";
        large.resize(300'000, 'x');
        EXPECT_EQ(Scan(backend, large), "clean");
        ExpectLogged("");
    }
    int m_port = 0;
    std::string m_text;
    ServerProcess m_server;
};

TEST_F(RealClamd, ScansByDescriptor) {
    ClamdBackend backend = Backend(m_text);
    ExpectToDo(backend);
    EXPECT_EQ(Scan(backend, std::string(512'001, 'x')),
              "unreadable: it is beyond the bounds of clamd");
}

TEST_F(RealClamd, ScansByStream) {
    ClamdBackend backend(
        {.isOn = true, .socket = {}, .address = "127.0.0.1:" + std::to_string(m_port)},
        std::make_shared<ClamdLog>(), kLong);
    ExpectToDo(backend);
}

TEST_F(RealClamd, IsFoundAgainAfterItsRestart) {
    ClamdBackend backend = Backend(m_text);
    EXPECT_EQ(Scan(backend), "clean");
    m_server.Stop();
    EXPECT_EQ(Scan(backend), "own worker");
    EXPECT_EQ(Scan(backend), "own worker");
    fs::remove(m_socket);
    Begin();
    EXPECT_TRUE(WaitUntil([&] { return Scan(backend) == "clean"; }, std::chrono::seconds(30)));
}

}  // namespace
