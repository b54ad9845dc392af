#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>

#include "product/scanapi/host_process.h"
#include "product/scanwire/host_messages.h"
#include "tests/support/quickest.h"
#include "tests/unit/product/scanapi/pool_fixture.h"

// The host of a pool: that it comes back when it ends, that nothing of it is left, and that it and
// the program that the pool is in do not meet.

namespace {

using Lines = std::vector<std::string>;
using scanapi::ScanPool;
using scanapi::Urgency;
using std::chrono::milliseconds;

class PoolHostTest : public PoolTest {
protected:
    static std::size_t LinesWith(const std::string& text) {
        std::ifstream log(common::kCommonLog);
        std::size_t count = 0;
        for (std::string line; std::getline(log, line);) {
            count += line.find(text) != std::string::npos ? 1U : 0U;
        }
        return count;
    }
    // Runs a program with a pool of its own, which says when that has loaded, until it ends.
    void RunProgram(const std::function<void()>& whenLoaded) {
        std::array<int, 2> pipe{};
        ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
        const pid_t program = ::fork();
        if (program == 0) {
            // It is left to the end of the process.
            auto* const pool = new ScanPool({}, m_settings);
            pool->Start();
            if (pool->WaitFor(milliseconds(10'000)) && pool->IsLoaded()) {
                (void)!::write(pipe[1], "x", 1);
            }
            whenLoaded();
        }
        ::close(pipe[1]);
        char loaded = 0;
        EXPECT_EQ(::read(pipe[0], &loaded, 1), 1);
        ::close(pipe[0]);
        // It may be gone already, with all that it had.
        EXPECT_GT(Noted("pids").size(), 0U);
        (void)::kill(program, SIGKILL);
        ASSERT_EQ(::waitpid(program, nullptr, 0), program);
        EXPECT_TRUE(WaitUntil([this] { return Living() == 0; }));
    }
};

TEST_F(PoolHostTest, AHostThatEndsIsStartedAgainAndCostsNoFile) {
    Start();
    const auto first = Submit("killshostonce-1", "text", Urgency::kAhead);
    const auto second = Submit("clean-2", "text", Urgency::kAhead);
    EXPECT_EQ(Text(Await(*first).outcome), "clean");
    EXPECT_EQ(Text(Await(*second).outcome), "clean");
    EXPECT_TRUE(m_pool->IsLoaded());
    EXPECT_EQ(Starts(), 2U);
    EXPECT_EQ(LinesWith("scanapi: what scans files ended; it is started again"), 1U);
}

TEST_F(PoolHostTest, AfterThreeRestartsInARunFilesAreUnread) {
    Start();
    const auto first = Submit("killshost-1", "text", Urgency::kAhead);
    const auto second = Submit("clean-2", "text", Urgency::kAhead);
    EXPECT_EQ(Text(Await(*first).outcome), "unread: what scans files ended again and again");
    EXPECT_EQ(Text(Await(*second).outcome), "unread: what scans files ended again and again");
    EXPECT_EQ(Scan("clean-3"), "unread: what scans files ended again and again");
    EXPECT_EQ(Starts(), 4U);
    EXPECT_EQ(LinesWith("again and again: files are not scanned"), 1U);
    EXPECT_TRUE(m_pool->IsLoaded());

    m_pool->BeginRun();
    EXPECT_EQ(Scan("clean-4"), "clean");
    EXPECT_EQ(Starts(), 5U);
}

TEST_F(PoolHostTest, ARunThatBeginsCountsAnew) {
    Start();
    ASSERT_TRUE(m_pool->WaitFor(milliseconds(10'000)));
    for (std::size_t run = 0; run < 3; ++run) {
        for (std::size_t death = 1; death <= 2; ++death) {
            const std::size_t starts = Starts();
            const std::string name = "killshostonce-" + std::to_string(run) + std::to_string(death);
            EXPECT_EQ(Scan(name), "clean") << "by the next host";
            EXPECT_EQ(Starts(), starts + 1);
        }
        m_pool->BeginRun();
    }
}

TEST_F(PoolHostTest, AHostThatEndsWhileItLoadsIsStartedAgain) {
    Script("die-loading 3\n");
    Start();
    ASSERT_TRUE(m_pool->WaitFor(milliseconds(10'000)));
    EXPECT_TRUE(m_pool->IsLoaded());
    EXPECT_EQ(Starts(), 4U);
    EXPECT_EQ(Scan("clean-1"), "clean");
}

TEST_F(PoolHostTest, UntilItHasEndedTooOften) {
    Script("die-loading 4\n");
    Start();
    const auto early = Submit("clean-1");
    ASSERT_TRUE(m_pool->WaitFor(milliseconds(10'000)));
    EXPECT_FALSE(m_pool->IsLoaded());
    EXPECT_EQ(Text(Await(*early).outcome), "unread: what scans files ended again and again");
    m_pool->BeginRun();
    EXPECT_TRUE(WaitUntil([this] { return m_pool->IsLoaded(); }));
    EXPECT_EQ(Scan("clean-2"), "clean");
}

TEST_F(PoolHostTest, WhatCouldNotBeLoadedIsLoggedAndKnown) {
    Script("left-out /second.ndb\nleft-out /never/told/of\nlog a\nline\n");
    Start();
    ASSERT_TRUE(m_pool->WaitFor(milliseconds(10'000)));
    EXPECT_TRUE(m_pool->IsLoaded());
    ASSERT_EQ(m_pool->Databases().size(), 1U);
    EXPECT_EQ(m_pool->Databases()[0].path, "/first.ndb");
    ASSERT_EQ(m_pool->LeftOut().size(), 1U);
    EXPECT_EQ(m_pool->LeftOut()[0].path, "/second.ndb");
    EXPECT_EQ(Log(), "scanapi: database (/second.ndb) left out: it is damaged\nscanapi: a\n");
}

TEST_F(PoolHostTest, WhatTheHostSaysCannotForgeALineOfTheLog) {
    Script("log one\rscanapi: two\x1b[2J\n");
    Start();
    ASSERT_TRUE(m_pool->WaitFor(milliseconds(10'000)));
    EXPECT_EQ(Log(), "scanapi: one\\u{000d}scanapi: two\\u{001b}[2J\n");
}

// As services do: what the host is given must not lie where its own descriptors go.
TEST_F(PoolHostTest, AProgramMayHaveClosedItsFirstDescriptors) {
    EXPECT_EQ(InChild([this] {
                  for (int descriptor = 0; descriptor <= scanwire::kControlDescriptor;
                       ++descriptor) {
                      (void)::close(descriptor);
                  }
                  ScanPool pool({}, m_settings);
                  pool.Start();
                  return pool.WaitFor(milliseconds(10'000)) && pool.IsLoaded() ? 0 : 1;
              }),
              0);
}

// A machine lacks the same for every host.
TEST_F(PoolHostTest, WhatTheHostSaysIsLoggedOnce) {
    Script("log workers are without: this\nlog workers are without: that\nno-process 1\n");
    Start();
    EXPECT_EQ(Scan("crash-1"), "unread: the scan of it crashed");
    EXPECT_EQ(Scan("clean-2"), "clean");
    EXPECT_EQ(Starts(), 2U);
    EXPECT_EQ(LinesWith("scanapi: workers are without: this"), 1U);
    EXPECT_EQ(LinesWith("scanapi: workers are without: that"), 1U);
}

TEST_F(PoolHostTest, AHostThatHasNoProcessForAWorkerIsStartedAgain) {
    Script("no-process 1\n");
    Start();
    EXPECT_EQ(Scan("crash-1"), "unread: the scan of it crashed");
    EXPECT_EQ(Scan("clean-2"), "clean");
    EXPECT_TRUE(m_pool->IsLoaded());
    EXPECT_EQ(Starts(), 2U);
    EXPECT_EQ(LinesWith("scanapi: no process for a worker"), 1U);
}

TEST_F(PoolHostTest, NothingLoadedIsForGood) {
    Script("not-loaded no scratch\n");
    Start();
    ASSERT_TRUE(m_pool->WaitFor(milliseconds(10'000)));
    EXPECT_FALSE(m_pool->IsLoaded());
    EXPECT_EQ(Scan("clean-1"), "unread: no database was loaded");
    EXPECT_EQ(Log(), "scanapi: no database could be loaded, files cannot be scanned: no scratch\n");
    m_pool->BeginRun();
    EXPECT_EQ(Scan("clean-1"), "unread: no database was loaded");
    EXPECT_EQ(Starts(), 1U);
}

TEST_F(PoolHostTest, WithoutAHostFilesAreUnread) {
    std::filesystem::remove(m_settings.host);
    Start();
    ASSERT_TRUE(m_pool->WaitFor(milliseconds(10'000)));
    EXPECT_FALSE(m_pool->IsLoaded());
    EXPECT_EQ(Scan("clean-1"), "unread: what scans files ended again and again");
    EXPECT_EQ(LinesWith("(" + m_settings.host +
                        ") could not be started: No such file or directory again and again"),
              1U);
}

TEST_F(PoolHostTest, AProgramThatIsNoHostIsNone) {
    for (const char* program : {"/bin/true", "/bin/cat"}) {
        std::filesystem::remove(m_settings.host);
        std::filesystem::create_symlink(program, m_settings.host);
        Start();
        EXPECT_TRUE(m_pool->WaitFor(milliseconds(10'000))) << program;
        EXPECT_FALSE(m_pool->IsLoaded());
        EXPECT_EQ(Scan("clean-1"), "unread: what scans files ended again and again");
    }
}

TEST_F(PoolHostTest, TheHostHasNothingOfTheProgram) {
    ::setenv("CORVANE_TEST_SECRET", "of the program", 1);
    const int open = ::open("/etc/passwd", O_RDONLY);  // NOLINT: it is to be inheritable
    ASSERT_GE(open, 0);
    sigset_t blocked;
    sigset_t before;
    sigfillset(&blocked);
    pthread_sigmask(SIG_SETMASK, &blocked, &before);
    const auto ignored = ::signal(SIGPIPE, SIG_IGN);
    Start();
    EXPECT_TRUE(m_pool->WaitFor(milliseconds(10'000)));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::signal(SIGPIPE, ignored);
    ::close(open);
    EXPECT_EQ(ReadFile(m_folder / "seen"),
              "descriptor 0 /dev/null\n"
              "descriptor 1 /dev/null\n"
              "descriptor 2 /dev/null\n"
              "descriptor 3 socket\n"
              "SigBlk:\t0000000000000000\n"
              // The two that the C library keeps for its threads.
              "SigIgn:\t0000000180000000\n"
              "folder /\n"
              "leads its session: yes\n"
              "\n");
}

TEST_F(PoolHostTest, AProgramWithoutStandardStreamsHasOneToo) {
    RunProgram([] {
        // The socket took none of their numbers, or the host had not come up.
        ::_exit(0);
    });
    std::filesystem::remove(m_folder / "seen");
    const pid_t program = StartChild([this] {
        ::close(0);
        ::close(1);
        ::close(2);
        ScanPool pool({}, m_settings);
        pool.Start();
        return pool.WaitFor(milliseconds(10'000)) && pool.IsLoaded() ? 0 : 1;
    });
    EXPECT_EQ(JoinChild(program), 0);
    EXPECT_NE(ReadFile(m_folder / "seen").find("descriptor 3 socket\nSigBlk"), std::string::npos);
}

TEST_F(PoolHostTest, TheProgramHasNoChildByIt) {
    for (const bool isIgnored : {false, true}) {
        SCOPED_TRACE(isIgnored);
        static std::atomic<int> told;
        told = 0;
        struct sigaction action {};
        struct sigaction before {};
        action.sa_handler = isIgnored ? SIG_IGN : +[](int) { ++told; };
        ASSERT_EQ(::sigaction(SIGCHLD, &action, &before), 0);
        Start(2);
        EXPECT_EQ(Scan("clean-1"), "clean");
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
        EXPECT_EQ(Scan("crash-1"), "unread: the scan of it crashed");
        EXPECT_EQ(Scan("clean-2"), "clean");
        m_pool->Stop();
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(told, 0);
        ::sigaction(SIGCHLD, &before, nullptr);
        EXPECT_TRUE(WaitUntil([this] { return Living() == 0; }));
    }
}

TEST_F(PoolHostTest, AProgramThatWaitsForAnyChildTakesNothingFromIt) {
    std::atomic<bool> done = false;
    std::thread waiter([&] {
        while (!done) {
            (void)::waitpid(-1, nullptr, 0);
        }
    });
    for (int round = 0; round < 20; ++round) {
        Start();
        EXPECT_EQ(Scan("clean-1"), "clean");
    }
    done = true;
    waiter.join();
    EXPECT_EQ(Starts(), 20U);
}

TEST_F(PoolHostTest, ItIsStartedWhileOtherThreadsAreBusy) {
    std::atomic<bool> done = false;
    std::vector<std::thread> busy;
    busy.reserve(4);
    for (int i = 0; i < 4; ++i) {
        busy.emplace_back([&] {
            while (!done) {
                const std::string text(1000, 'x');
                (void)std::getenv(text.c_str());
            }
        });
    }
    for (int round = 0; round < 20; ++round) {
        Start();
        EXPECT_EQ(Scan("clean-1"), "clean");
    }
    done = true;
    for (std::thread& each : busy) {
        each.join();
    }
}

TEST_F(PoolHostTest, NothingIsLeftOfAProgramThatIsKilled) {
    m_settings.workers = 3;
    RunProgram([] {
        while (true) {
            ::pause();
        }
    });
}

TEST_F(PoolHostTest, NothingIsLeftOfAProgramThatEndsWithoutAWord) {
    m_settings.workers = 3;
    RunProgram([] { std::_Exit(0); });
}

TEST_F(PoolHostTest, AHostThatDoesNotEndIsEnded) {
    // It reads nothing, so that it does not see the end of its socket either.
    std::filesystem::remove(m_settings.host);
    WriteFile(m_settings.host, "#!/bin/sh\nexec sleep 1000\n");
    std::filesystem::permissions(m_settings.host, std::filesystem::perms(0755));
    constexpr milliseconds kEnough(1500);
    const auto quickest = QuickestOf(3, kEnough, [&] {
        scanapi::HostProcess host;
        EXPECT_TRUE(host.Start(m_settings.host));
        EXPECT_GT(host.Memory(), 0U);
        const auto before = std::chrono::steady_clock::now();
        host.End(milliseconds(200));
        EXPECT_EQ(host.Memory(), 0U);
        return std::chrono::steady_clock::now() - before;
    });
    EXPECT_LT(quickest, kEnough);
}

}  // namespace
