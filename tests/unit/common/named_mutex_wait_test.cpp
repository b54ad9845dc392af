#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

#include "common/named_mutex.h"
#include "tests/unit/common/named_mutex_fixture.h"

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// Whether a process or thread (its folder below "/proc") sleeps.
bool Sleeps(const std::string& folder) {
    const std::string status = ReadFile(folder + "/stat");
    const std::size_t name = status.rfind(')');
    return name != std::string::npos && status.compare(name, 3, ") S") == 0;
}

class NamedMutexWait : public NamedMutex {
protected:
    // Gives the blocked mutex back after a while.
    static std::thread FreeAfter(milliseconds delay) {
        return std::thread([due = Clock::now() + delay] {
            std::this_thread::sleep_until(due);
            RemoveQueue();
        });
    }
};

TEST_F(NamedMutexWait, FailsAtOnceWithoutRetries) {
    Block();
    const auto start = Clock::now();
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 0);
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, -1), 0);
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, -2'147'483'647 - 1), 0);
    EXPECT_LT(Since(start), milliseconds(900));
    EXPECT_EQ(m_mutex.queueId, 4711);
    EXPECT_STREQ(m_mutex.key, "before");
}

TEST_F(NamedMutexWait, IsNotReEntrant) {
    ASSERT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
    tagMUTEX_INFO again{};
    const auto start = Clock::now();
    EXPECT_EQ(GetMutexOwnerShip(kName, &again, 1), 0);
    EXPECT_GE(Since(start), milliseconds(1000));
    EXPECT_EQ(ReleaseMutexOwnerShip(&m_mutex), 1);
}

// One wait a retry and none after the last: three retries are three seconds. They cost nothing.
TEST_F(NamedMutexWait, SleepsASecondBeforeEachRetry) {
    Block();
    rusage before{};
    rusage after{};
    ASSERT_EQ(::getrusage(RUSAGE_THREAD, &before), 0);
    const auto start = Clock::now();
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 3), 0);
    const milliseconds elapsed = Since(start);
    ASSERT_EQ(::getrusage(RUSAGE_THREAD, &after), 0);
    EXPECT_GE(elapsed, milliseconds(3000));
    EXPECT_LT(elapsed, milliseconds(3900));

    timeval used{};
    timersub(&after.ru_utime, &before.ru_utime, &used);
    EXPECT_LT(used.tv_sec * 1'000'000 + used.tv_usec, 20'000);
    timersub(&after.ru_stime, &before.ru_stime, &used);
    EXPECT_LT(used.tv_sec * 1'000'000 + used.tv_usec, 20'000);
    EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 30);
}

// Free from 1.5 s on: the attempts at 0 s and 1 s find it held, the one at 2 s does not.
TEST_F(NamedMutexWait, TriesOnceARetry) {
    Block();
    const auto start = Clock::now();
    std::thread holder = FreeAfter(milliseconds(1500));
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 1), 0);
    EXPECT_GE(Since(start), milliseconds(1000));
    EXPECT_LT(Since(start), milliseconds(1500));
    holder.join();

    Block();
    const auto second = Clock::now();
    holder = FreeAfter(milliseconds(1500));
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 2), 1);
    EXPECT_GE(Since(second), milliseconds(2000));
    EXPECT_LT(Since(second), milliseconds(2900));
    holder.join();
    EXPECT_EQ(m_mutex.queueId, QueueOf(kKey));
    EXPECT_STREQ(m_mutex.key, "77011");
}

TEST_F(NamedMutexWait, DoesNotRetryWhatCannotWork) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "the number of queues is only bounded in a private root";
    }
    const std::string bound = ReadFile("/proc/sys/kernel/msgmni");
    WriteFile("/proc/sys/kernel/msgmni", std::to_string(CountQueues()));
    if (ReadFile("/proc/sys/kernel/msgmni") == bound) {
        GTEST_SKIP() << "no right to bound the number of queues";
    }
    const auto start = Clock::now();
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 2), 0);
    EXPECT_LT(Since(start), milliseconds(900));
    WriteFile("/proc/sys/kernel/msgmni", bound);
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
}

TEST_F(NamedMutexWait, SignalsNeitherShortenNorLengthenAWait) {
    Block();
    const int result = InChild([this] {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        const itimerval often{{0, 20'000}, {0, 20'000}};
        if (::sigaction(SIGALRM, &action, nullptr) != 0 ||
            ::setitimer(ITIMER_REAL, &often, nullptr) != 0) {
            return 9;
        }
        const auto start = Clock::now();
        const int taken = GetMutexOwnerShip(kName, &m_mutex, 2);
        const milliseconds elapsed = Since(start);
        if (taken != 0) {
            return 1;
        }
        return elapsed >= milliseconds(2000) && elapsed < milliseconds(2900) ? 0 : 2;
    });
    EXPECT_EQ(result, 0);
}

TEST_F(NamedMutexWait, AWaitDoesNotHoldUpSigterm) {
    Block();
    const pid_t child = StartChild([this] { return GetMutexOwnerShip(kName, &m_mutex, 10); });
    ASSERT_TRUE(WaitUntil([&] { return Sleeps("/proc/" + std::to_string(child)); }));
    const auto start = Clock::now();
    ASSERT_EQ(::kill(child, SIGTERM), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_LT(Since(start), milliseconds(900));
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST_F(NamedMutexWait, TheEndOfTheProcessEndsAWaitAtOnce) {
    Block();
    const int result = InChild([this] {
        std::atomic<pid_t> waiterId{0};
        std::atomic<int> taken{9};
        std::thread waiter([&] {
            waiterId = ::gettid();
            taken = GetMutexOwnerShip(kName, &m_mutex, 10);
        });
        const bool waits = WaitUntil(
            [&] { return waiterId != 0 && Sleeps("/proc/self/task/" + std::to_string(waiterId)); });
        const auto start = Clock::now();
        common::EndMutexWaits();
        waiter.join();
        if (!waits || taken != 0) {
            return 1;
        }
        return Since(start) < milliseconds(500) ? 0 : 2;
    });
    EXPECT_EQ(result, 0);
}

TEST_F(NamedMutexWait, AfterTheEndNobodyWaitsButWhatIsFreeCanBeTaken) {
    Block();
    const int result = InChild([this] {
        common::EndMutexWaits();
        common::EndMutexWaits();
        const auto start = Clock::now();
        if (GetMutexOwnerShip(kName, &m_mutex, 10) != 0 || Since(start) > milliseconds(900)) {
            return 1;
        }
        RemoveQueue();
        return GetMutexOwnerShip(kName, &m_mutex, 10) == 1 && ReleaseMutexOwnerShip(&m_mutex) == 1
                   ? 0
                   : 2;
    });
    EXPECT_EQ(result, 0);
}

TEST_F(NamedMutexWait, AWaitDoesNotHoldUpExit) {
    Block();
    const auto start = Clock::now();
    const int result = InChild([this] {
        std::atomic<pid_t> waiterId{0};
        std::thread waiter([&] {
            waiterId = ::gettid();
            GetMutexOwnerShip(kName, &m_mutex, 60);
        });
        const bool waits = WaitUntil(
            [&] { return waiterId != 0 && Sleeps("/proc/self/task/" + std::to_string(waiterId)); });
        waiter.detach();
        std::exit(waits ? 0 : 1);
        return 2;
    });
    EXPECT_EQ(result, 0);
    EXPECT_LT(Since(start), milliseconds(20'000));
}

}  // namespace
