#include "product/updturl/library_run.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/text_field.h"
#include "product/updturl/service_connection.h"
#include "tests/support/patient_clock.h"
#include "tests/support/scratch.h"

namespace updturl {
namespace {

using namespace std::chrono_literals;

constexpr char kLog[] = "/zqupdt.log";

int StopAtOnce(const tagUPDATEINFO* /*info*/, void* /*context*/) {
    return kUpdateStop;
}

int GoOn(const tagUPDATEINFO* info, void* context) {
    static_cast<std::string*>(context)->append(std::to_string(info->status)).append(" ");
    return kUpdateGoOn;
}

class LibraryRunTest : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the log is only written inside the sandbox";
        }
        ::unlink(kLog);
        m_request.applicationDirectory = "/app/";
        m_request.downloadDirectory = "/app/download/";
        m_request.addresses.emplace();
    }

    /// A program that does what the shell commands say, beside the request in "request".
    std::string Program(const std::string& commands) {
        std::string path = m_folder / "corvane-update";
        WriteFile(path, "#!/bin/bash\ncd " + m_folder.Path() + "\n" + commands + "\n");
        ::chmod(path.c_str(), 0755);
        return path;
    }

    int Run(const std::string& commands, PFNUPDTCALLBACK callback = &GoOn) {
        ProgressListener listener(callback, &m_told);
        const std::string program = Program(commands);
        const auto begun = PatientClock::now();
        const int result = RunChild(program, m_request, listener);
        m_took = PatientClock::now() - begun;
        return result;
    }

    bool IsGone(const std::string& pidFile) {
        std::istringstream pids(ReadFile(m_folder / pidFile));
        pid_t pid = 0;
        bool areGone = true;
        int count = 0;
        for (; pids >> pid; ++count) {
            areGone = areGone && !Exists("/proc/" + std::to_string(pid));
        }
        return areGone && count > 0;
    }

    ScratchFolder m_folder;
    Request m_request;
    std::string m_told;
    PatientClock::duration m_took{};
};

TEST_F(LibraryRunTest, TheChildIsGivenTheRequestAndItsLinesAreTold) {
    EXPECT_EQ(
        Run("while read -r line; do echo \"$line\" >>request; [[ $line == go ]] && break; done\n"
            "echo status 2003; echo log one%0Atwo; echo status 2005; echo result 2"),
        kUpdaterUpToDate);
    EXPECT_EQ(ReadFile(m_folder / "request"),
              "source site\nadministrator 0\napplication /app/\ndownload /app/download/\n"
              "proxy-port 0\ngo\n");
    EXPECT_EQ(m_told.find("2000 "), 0U);
    EXPECT_NE(m_told.find("2003 "), std::string::npos);
    EXPECT_NE(m_told.find("2005 "), std::string::npos);
    EXPECT_EQ(ReadFile(kLog), "Update: one\\u{000a}two\n");
}

// A name may have come from anywhere, and is shown on a screen.
TEST_F(LibraryRunTest, NamesAndTextsAreTheChildsAndOneLineEach) {
    std::string name;
    ProgressListener listener(
        [](const tagUPDATEINFO* info, void* context) -> int {
            if (info->status == kUpdateLoadingNamedFile) {
                *static_cast<std::string*>(context) = common::FieldText(info->fileName);
            }
            return kUpdateGoOn;
        },
        &name);
    EXPECT_EQ(RunChild(Program("echo 'log x%1B[2J%FF\\%E2%80%AEy'\n"
                               "echo 'status 2006 a%0Ab%7F%C3%B6'; sleep 0.3; echo result 2"),
                       m_request, listener),
              kUpdaterUpToDate);
    EXPECT_EQ(name, "a\\u{000a}b\\u{007f}\xC3\xB6");
    EXPECT_EQ(ReadFile(kLog), "Update: x\\u{001b}[2J\\xff\\\\\\u{202e}y\n");
}

TEST_F(LibraryRunTest, TheChildGetsNoDescriptorNoEnvironmentAndADirectoryOfItsOwn) {
    WriteFile(m_folder / "inherited", "");
    // Without O_CLOEXEC: it goes to every child but for those that close it.
    const common::FileDescriptor open(::open((m_folder / "inherited").c_str(), O_RDONLY));
    ASSERT_TRUE(open.IsOpen());
    ::setenv("https_proxy", "http://elsewhere.example", 1);
    ::setenv("LD_LIBRARY_PATH", "/elsewhere", 1);
    WriteFile(m_folder / "corvane-update",
              "#!/bin/sh\n"
              "readlink /proc/$$/cwd >" +
                  m_folder.Path() +
                  "directory\n"
                  "tr '\\0' '\\n' </proc/$$/environ >" +
                  m_folder.Path() +
                  "environment\n"
                  "readlink /proc/$$/fd/* >" +
                  m_folder.Path() +
                  "descriptors\n"
                  "readlink /proc/$$/fd/2 >" +
                  m_folder.Path() +
                  "errors\n"
                  "cut -d ' ' -f 1,5,6 /proc/$$/stat >" +
                  m_folder.Path() +
                  "group\n"
                  "echo result 1\n");
    ::chmod((m_folder / "corvane-update").c_str(), 0755);
    ProgressListener listener(nullptr, nullptr);
    EXPECT_EQ(RunChild(m_folder / "corvane-update", m_request, listener), kUpdaterUpdated);
    ::unsetenv("https_proxy");
    ::unsetenv("LD_LIBRARY_PATH");
    EXPECT_EQ(ReadFile(m_folder / "directory"), "/\n");
    EXPECT_EQ(ReadFile(m_folder / "environment"),
              "PATH=/usr/sbin:/usr/bin:/sbin:/bin\nLC_ALL=C.UTF-8\n");
    const std::string openFiles = ReadFile(m_folder / "descriptors");
    EXPECT_NE(openFiles.find("socket:"), std::string::npos);
    EXPECT_EQ(openFiles.find("inherited"), std::string::npos);
    EXPECT_EQ(ReadFile(m_folder / "errors"), "/dev/null\n");
    std::istringstream numbers(ReadFile(m_folder / "group"));
    int process = 0;
    int group = -1;
    int session = -1;
    numbers >> process >> group >> session;
    EXPECT_EQ(process, group);
    EXPECT_EQ(process, session) << "the terminal of the program is not its terminal";
}

TEST_F(LibraryRunTest, SignalsOfTheProgramAreNotThoseOfTheChild) {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigset_t before;
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &blocked, &before), 0);
    const auto handler = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(Run("echo result 1; exec grep -E 'SigBlk|SigIgn' /proc/self/status >signals"),
              kUpdaterUpdated);
    (void)std::signal(SIGPIPE, handler);
    ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &before, nullptr), 0);
    std::istringstream masks(ReadFile(m_folder / "signals"));
    std::string word;
    unsigned long blockedInChild = ~0UL;
    unsigned long ignoredInChild = ~0UL;
    masks >> word >> std::hex >> blockedInChild >> word >> ignoredInChild;
    EXPECT_EQ(blockedInChild & (1UL << (SIGTERM - 1)), 0U);
    EXPECT_EQ(ignoredInChild & (1UL << (SIGPIPE - 1)), 0U);
}

TEST_F(LibraryRunTest, AChildThatDoesNotListenToAWishToStopIsEndedWithinThreeTenthsOfASecond) {
    EXPECT_EQ(Run("trap '' TERM; sleep 100 & wait; wait", &StopAtOnce), kUpdaterInterrupted);
    EXPECT_LT(m_took, 300ms);
}

TEST_F(LibraryRunTest, AWishToStopEndsAllThatTheChildStarted) {
    EXPECT_EQ(Run("trap '' TERM; sleep 100 & echo $$ $! >pids; read -r; echo status 2005; "
                  "while sleep 0.05; do echo status 2005; done",
                  [](const tagUPDATEINFO* info, void*) {
                      return info->status == 2005 ? int{kUpdateStop} : int{kUpdateGoOn};
                  }),
              kUpdaterInterrupted);
    EXPECT_TRUE(WaitUntil([this] { return IsGone("pids"); }));
}

TEST_F(LibraryRunTest, AChildThatIsKilledHasNoResult) {
    EXPECT_EQ(Run("echo status 2005; kill -9 $$"), kUpdaterFailed);
    EXPECT_EQ(ReadFile(kLog), "Update: the updater ended without a result\n");
}

TEST_F(LibraryRunTest, WhatTheChildLeavesRunningIsEndedAfterItsResult) {
    EXPECT_EQ(Run("sleep 100 & echo $! >pids; echo result 1"), kUpdaterUpdated);
    EXPECT_TRUE(WaitUntil([this] { return IsGone("pids"); }));
    EXPECT_LT(m_took, 900ms);
}

TEST_F(LibraryRunTest, AChildThatClosesItsInputBeforeTheRequestRaisesNoSignal) {
    m_request.addresses->assign(200, std::string(2000, 'a'));
    EXPECT_EQ(Run("exec <&-; echo result 2"), kUpdaterUpToDate);
}

TEST_F(LibraryRunTest, WithoutItsProgramItSaysSo) {
    ProgressListener listener(nullptr, nullptr);
    const std::string program = m_folder / "corvane-update";
    EXPECT_EQ(RunChild(program, m_request, listener), kUpdaterFailed);
    EXPECT_EQ(ReadFile(kLog),
              "Update: " + program + " cannot be started: No such file or directory\n");
}

TEST_F(LibraryRunTest, ATextThatFitsNoLineIsNotCut) {
    m_request.source = Source::kIndex;
    m_request.folder = std::string(5000, 'f');
    ProgressListener listener(nullptr, nullptr);
    EXPECT_EQ(RunChild(Program("echo result 1"), m_request, listener), kUpdaterFailed);
    EXPECT_EQ(ReadFile(kLog), "Update: a text of the request is too long\n");
}

TEST_F(LibraryRunTest, MayRunOnAnyThreadAndOnSeveralAtOnce) {
    const std::string program = Program("echo status 2001; sleep 0.3; echo result 1");
    std::array<int, 3> results{};
    std::array<std::thread, 3> threads;
    for (std::size_t index = 0; index < threads.size(); ++index) {
        threads.at(index) = std::thread([&, index] {
            ProgressListener listener(nullptr, nullptr);
            results.at(index) = RunChild(program, m_request, listener);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(results, (std::array<int, 3>{1, 1, 1}));
}

/// A service that answers one asker.
class FakeService {
public:
    explicit FakeService(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        EXPECT_TRUE(common::CopyToField(address.sun_path, path));
        m_listening.Reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(
            ::bind(m_listening.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
            0);
        EXPECT_EQ(::listen(m_listening.Get(), 1), 0);
    }

    /// Hears one line of the next asker and answers; what it heard.
    std::string Answer(std::string_view answer) {
        const common::FileDescriptor asker(
            ::accept4(m_listening.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        std::string heard;
        char byte = 0;
        while (!heard.ends_with('\n') && ::read(asker.Get(), &byte, 1) == 1) {
            heard += byte;
        }
        common::WriteAll(asker.Get(), answer);
        return heard;
    }

private:
    common::FileDescriptor m_listening;
};

TEST_F(LibraryRunTest, TheServiceIsAskedForNothingButAnUpdate) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root and the service's user are believed";
    }
    const std::string path = m_folder / "update.sock";
    FakeService service(path);
    std::string heard;
    std::thread answers([&] { heard = service.Answer("status 2003\nlog word\nresult 1\n"); });
    ProgressListener listener(&GoOn, &m_told);
    EXPECT_EQ(AskService(path, Source::kSite, listener), kUpdaterUpdated);
    answers.join();
    EXPECT_EQ(heard, "update\n");
    EXPECT_EQ(m_told, "2000 2003 ");
    EXPECT_EQ(ReadFile(kLog), "Update: word\n");
    std::thread answersAgain([&] { heard = service.Answer("result 3\n"); });
    EXPECT_EQ(AskService(path, Source::kIndex, listener), 3);
    answersAgain.join();
    EXPECT_EQ(heard, "index\n");
}

TEST_F(LibraryRunTest, NobodyElseIsTakenForTheService) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "no right to become another user";
    }
    ::chmod(m_folder.Path().c_str(), 0777);
    const std::string path = m_folder / "update.sock";
    const pid_t other = StartChild([&] {
        if (::setuid(65534) != 0) {
            return 1;
        }
        FakeService service(path);
        service.Answer("result 2\n");
        return 0;
    });
    ASSERT_TRUE(WaitUntil([&] { return Exists(path); }));
    ProgressListener listener(nullptr, nullptr);
    int result = -1;
    // Until it listens there is nobody to be taken for anybody.
    ASSERT_TRUE(WaitUntil([&] {
        ::unlink(kLog);
        result = AskService(path, Source::kSite, listener);
        return ReadFile(kLog).find("refused") == std::string::npos;
    }));
    EXPECT_EQ(result, kUpdaterFailed);
    EXPECT_EQ(ReadFile(kLog),
              "Update: the update service cannot be asked (it is not the service that listens on " +
                  path +
                  "); an administrator starts it with \"systemctl start corvane-updated\" or "
                  "\"/etc/init.d/corvane-updated start\"\n");
    ::kill(other, SIGKILL);
    JoinChild(other);
}

// The connection waits with the system, and nobody takes it.
TEST_F(LibraryRunTest, ASocketThatNobodyServesIsGivenUp) {
    const std::string path = m_folder / "update.sock";
    const common::FileDescriptor listening(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listening.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listening.Get(), 1), 0);
    ProgressListener listener(nullptr, nullptr);
    const auto begun = std::chrono::steady_clock::now();
    const auto patientlyBegun = PatientClock::now();
    EXPECT_EQ(AskService(path, Source::kSite, listener, 500ms), kUpdaterFailed);
    EXPECT_GE(std::chrono::steady_clock::now() - begun, 500ms);
    EXPECT_LT(PatientClock::now() - patientlyBegun, 1500ms);
    EXPECT_EQ(ReadFile(kLog),
              "Update: the update service does not answer; an administrator starts it with "
              "\"systemctl start corvane-updated\" or \"/etc/init.d/corvane-updated start\"\n");
}

TEST_F(LibraryRunTest, WithoutAServiceTheLogSaysHowToStartIt) {
    ProgressListener listener(nullptr, nullptr);
    EXPECT_EQ(AskService(m_folder / "update.sock", Source::kSite, listener), kUpdaterFailed);
    EXPECT_EQ(ReadFile(kLog),
              "Update: the update service cannot be asked (No such file or directory); an "
              "administrator starts it with \"systemctl start corvane-updated\" or "
              "\"/etc/init.d/corvane-updated start\"\n");
}

}  // namespace
}  // namespace updturl
