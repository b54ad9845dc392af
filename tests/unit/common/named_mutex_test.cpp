#include "common/named_mutex.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

#include "tests/support/scratch.h"

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr char kName[] = "77011";
constexpr key_t kKey = 77'011;

int QueueOf(key_t key) {
    return ::msgget(key, 0);
}

// Queues of the whole IPC namespace.
int CountQueues() {
    msginfo info{};
    EXPECT_GE(::msgctl(0, MSG_INFO, reinterpret_cast<msqid_ds*>(&info)), 0);
    return info.msgpool;
}

// Whether a process or thread (its folder below "/proc") sleeps.
bool Sleeps(const std::string& folder) {
    const std::string status = ReadFile(folder + "/stat");
    const std::size_t name = status.rfind(')');
    return name != std::string::npos && status.compare(name, 3, ") S") == 0;
}

milliseconds Since(Clock::time_point start) {
    return std::chrono::duration_cast<milliseconds>(Clock::now() - start);
}

class NamedMutex : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "queues are only made inside the sandbox";
        }
        RemoveQueue();
    }
    void TearDown() override {
        if (InSandbox()) {
            RemoveQueue();
        }
    }
    static void RemoveQueue() {
        if (const int queue = QueueOf(kKey); queue >= 0) {
            ::msgctl(queue, IPC_RMID, nullptr);
        }
    }
    // The mutex is held by somebody.
    static void Block() { ASSERT_GE(::msgget(kKey, IPC_CREAT | IPC_EXCL | 0600), 0); }

    // Gives the blocked mutex back after a while.
    static std::thread FreeAfter(milliseconds delay) {
        return std::thread([due = Clock::now() + delay] {
            std::this_thread::sleep_until(due);
            RemoveQueue();
        });
    }

    tagMUTEX_INFO m_mutex{4711, "before"};
};

TEST_F(NamedMutex, IsAQueueWhileItIsHeld) {
    ASSERT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
    EXPECT_STREQ(m_mutex.key, "77011");
    EXPECT_EQ(m_mutex.queueId, QueueOf(kKey));
    msqid_ds queue{};
    ASSERT_EQ(::msgctl(m_mutex.queueId, IPC_STAT, &queue), 0);
    EXPECT_EQ(queue.msg_perm.mode & 0777, 0600);

    ASSERT_EQ(ReleaseMutexOwnerShip(&m_mutex), 1);
    EXPECT_EQ(m_mutex.queueId, -1);
    EXPECT_STREQ(m_mutex.key, "77011");
    EXPECT_EQ(QueueOf(kKey), -1);
}

TEST_F(NamedMutex, CanBeTakenAgainWhenReleased) {
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
        ASSERT_EQ(ReleaseMutexOwnerShip(&m_mutex), 1);
    }
}

TEST_F(NamedMutex, KnowsAKeyByItsNumber) {
    ASSERT_EQ(GetMutexOwnerShip("0000077011", &m_mutex, 0), 1);
    EXPECT_STREQ(m_mutex.key, "0000077011");
    EXPECT_EQ(m_mutex.queueId, QueueOf(kKey));
    tagMUTEX_INFO other{};
    EXPECT_EQ(GetMutexOwnerShip(kName, &other, 0), 0);
}

TEST_F(NamedMutex, TakesTheHighestNumber) {
    ASSERT_EQ(GetMutexOwnerShip("2147483647", &m_mutex, 0), 1);
    EXPECT_EQ(m_mutex.queueId, QueueOf(2'147'483'647));
    EXPECT_EQ(ReleaseMutexOwnerShip(&m_mutex), 1);
}

TEST_F(NamedMutex, TouchesNoQueueForWhatIsNoName) {
    const std::string tooLong = std::string(63, '0') + "1";
    const int before = CountQueues();
    const auto start = Clock::now();
    for (const char* name :
         {"0", "00", "-1", "-77011", "", " ", "name", "12abc", "abc12", " 12", "12 ", "+12", "1.5",
          "0x10", "2147483648", "4294967297", "99999999999999999999999999", tooLong.c_str()}) {
        EXPECT_EQ(GetMutexOwnerShip(name, &m_mutex, 10), 0) << name;
        EXPECT_FALSE(FindNamedMutex(name)) << name;
    }
    EXPECT_LT(Since(start), milliseconds(900));
    EXPECT_EQ(CountQueues(), before);
    EXPECT_EQ(m_mutex.queueId, 4711);
    EXPECT_STREQ(m_mutex.key, "before");
}

TEST_F(NamedMutex, FailsForNullPointers) {
    EXPECT_EQ(GetMutexOwnerShip(nullptr, &m_mutex, 10), 0);
    EXPECT_EQ(GetMutexOwnerShip(kName, nullptr, 10), 0);
    EXPECT_EQ(QueueOf(kKey), -1);
    EXPECT_EQ(ReleaseMutexOwnerShip(nullptr), 0);
    EXPECT_FALSE(FindNamedMutex(nullptr));
}

TEST_F(NamedMutex, CannotBeReleasedWithoutItsQueue) {
    ASSERT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
    const int queue = m_mutex.queueId;
    RemoveQueue();
    EXPECT_EQ(ReleaseMutexOwnerShip(&m_mutex), 0);
    EXPECT_EQ(m_mutex.queueId, queue);
    m_mutex.queueId = -1;
    EXPECT_EQ(ReleaseMutexOwnerShip(&m_mutex), 0);
}

TEST_F(NamedMutex, FailsAtOnceWithoutRetries) {
    Block();
    const auto start = Clock::now();
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 0);
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, -1), 0);
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, -2'147'483'647 - 1), 0);
    EXPECT_LT(Since(start), milliseconds(900));
    EXPECT_EQ(m_mutex.queueId, 4711);
    EXPECT_STREQ(m_mutex.key, "before");
}

TEST_F(NamedMutex, IsNotReEntrant) {
    ASSERT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
    tagMUTEX_INFO again{};
    const auto start = Clock::now();
    EXPECT_EQ(GetMutexOwnerShip(kName, &again, 1), 0);
    EXPECT_GE(Since(start), milliseconds(1000));
    EXPECT_EQ(ReleaseMutexOwnerShip(&m_mutex), 1);
}

// One wait a retry and none after the last: three retries are three seconds. They cost nothing.
TEST_F(NamedMutex, SleepsASecondBeforeEachRetry) {
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
TEST_F(NamedMutex, TriesOnceARetry) {
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

TEST_F(NamedMutex, DoesNotRetryWhatCannotWork) {
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

TEST_F(NamedMutex, SignalsNeitherShortenNorLengthenAWait) {
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

TEST_F(NamedMutex, AWaitDoesNotHoldUpSigterm) {
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

TEST_F(NamedMutex, TheEndOfTheProcessEndsAWaitAtOnce) {
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
        EndMutexWaits();
        waiter.join();
        if (!waits || taken != 0) {
            return 1;
        }
        return Since(start) < milliseconds(500) ? 0 : 2;
    });
    EXPECT_EQ(result, 0);
}

TEST_F(NamedMutex, AfterTheEndNobodyWaitsButWhatIsFreeCanBeTaken) {
    Block();
    const int result = InChild([this] {
        EndMutexWaits();
        EndMutexWaits();
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

TEST_F(NamedMutex, AWaitDoesNotHoldUpExit) {
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

TEST_F(NamedMutex, AKilledOwnersQueueBlocksUntilItIsRemoved) {
    const pid_t child = StartChild([this] {
        if (GetMutexOwnerShip(kName, &m_mutex, 0) == 1) {
            ::kill(::getpid(), SIGKILL);
        }
        return 0;
    });
    ASSERT_EQ(JoinChild(child), -1);
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 1), 0);

    const std::optional<NamedMutexState> left = FindNamedMutex(kName);
    ASSERT_TRUE(left);
    EXPECT_TRUE(RemoveNamedMutex(*left));
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
}

TEST_F(NamedMutex, IsFoundWhileItIsHeld) {
    EXPECT_FALSE(FindNamedMutex(kName));
    const std::time_t before = std::time(nullptr);
    ASSERT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
    const std::optional<NamedMutexState> state = FindNamedMutex(kName);
    ASSERT_TRUE(state);
    EXPECT_EQ(state->queueId, m_mutex.queueId);
    EXPECT_EQ(state->owner, ::geteuid());
    EXPECT_GE(state->made, before);
    EXPECT_LE(state->made, std::time(nullptr));
    ASSERT_EQ(ReleaseMutexOwnerShip(&m_mutex), 1);
    EXPECT_FALSE(FindNamedMutex(kName));
}

TEST_F(NamedMutex, SomebodyElsesIsFoundButNotRemoved) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become somebody else";
    }
    // Others to pass over in the list.
    const std::array<int, 3> others = {::msgget(IPC_PRIVATE, 0600), ::msgget(IPC_PRIVATE, 0600),
                                       ::msgget(IPC_PRIVATE, 0600)};
    ASSERT_EQ(::msgctl(others[1], IPC_RMID, nullptr), 0);
    const std::time_t before = std::time(nullptr);
    ASSERT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
    const int result = InChild([&] {
        if (::setgid(65'534) != 0 || ::setuid(65'534) != 0) {
            return 9;
        }
        const std::optional<NamedMutexState> state = FindNamedMutex(kName);
        if (!state || state->queueId != m_mutex.queueId) {
            return 1;
        }
        if (state->owner != 0 || state->made < before || state->made > std::time(nullptr)) {
            return 2;
        }
        return !RemoveNamedMutex(*state) && errno == EACCES ? 0 : 3;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(QueueOf(kKey), m_mutex.queueId);

    // Root sees whose it is and may remove it.
    ASSERT_EQ(ReleaseMutexOwnerShip(&m_mutex), 1);
    ASSERT_EQ(InChild([this] {
                  return ::setuid(65'534) == 0 && GetMutexOwnerShip(kName, &m_mutex, 0) == 1 ? 0
                                                                                             : 1;
              }),
              0);
    const std::optional<NamedMutexState> state = FindNamedMutex(kName);
    ASSERT_TRUE(state);
    EXPECT_EQ(state->owner, 65'534U);
    EXPECT_TRUE(RemoveNamedMutex(*state));
    EXPECT_EQ(QueueOf(kKey), -1);
    ::msgctl(others[0], IPC_RMID, nullptr);
    ::msgctl(others[2], IPC_RMID, nullptr);
}

TEST_F(NamedMutex, OneMadeAnewIsLeftAlone) {
    Block();
    const std::optional<NamedMutexState> old = FindNamedMutex(kName);
    ASSERT_TRUE(old);
    RemoveQueue();
    EXPECT_FALSE(RemoveNamedMutex(*old));
    EXPECT_TRUE(errno == EIDRM || errno == EINVAL) << std::strerror(errno);

    Block();
    EXPECT_FALSE(RemoveNamedMutex(*old));
    EXPECT_TRUE(errno == EIDRM || errno == EINVAL) << std::strerror(errno);
    EXPECT_GE(QueueOf(kKey), 0);

    // Even one that got the old one's number.
    NamedMutexState sameNumber = *FindNamedMutex(kName);
    --sameNumber.made;
    EXPECT_FALSE(RemoveNamedMutex(sameNumber));
    EXPECT_EQ(errno, EIDRM);
    EXPECT_GE(QueueOf(kKey), 0);
}

}  // namespace
