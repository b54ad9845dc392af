#include "common/named_mutex.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <unistd.h>

#include "tests/unit/common/named_mutex_fixture.h"

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

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
        EXPECT_FALSE(common::FindNamedMutex(name)) << name;
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
    EXPECT_FALSE(common::FindNamedMutex(nullptr));
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

TEST_F(NamedMutex, AKilledOwnersQueueBlocksUntilItIsRemoved) {
    const pid_t child = StartChild([this] {
        if (GetMutexOwnerShip(kName, &m_mutex, 0) == 1) {
            ::kill(::getpid(), SIGKILL);
        }
        return 0;
    });
    ASSERT_EQ(JoinChild(child), -1);
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 1), 0);

    const std::optional<common::NamedMutexState> left = common::FindNamedMutex(kName);
    ASSERT_TRUE(left);
    EXPECT_TRUE(common::RemoveNamedMutex(*left));
    EXPECT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
}

TEST_F(NamedMutex, IsFoundWhileItIsHeld) {
    EXPECT_FALSE(common::FindNamedMutex(kName));
    const std::time_t before = std::time(nullptr);
    ASSERT_EQ(GetMutexOwnerShip(kName, &m_mutex, 0), 1);
    const std::optional<common::NamedMutexState> state = common::FindNamedMutex(kName);
    ASSERT_TRUE(state);
    EXPECT_EQ(state->queueId, m_mutex.queueId);
    EXPECT_EQ(state->owner, ::geteuid());
    EXPECT_GE(state->made, before);
    EXPECT_LE(state->made, std::time(nullptr));
    ASSERT_EQ(ReleaseMutexOwnerShip(&m_mutex), 1);
    EXPECT_FALSE(common::FindNamedMutex(kName));
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
        const std::optional<common::NamedMutexState> state = common::FindNamedMutex(kName);
        if (!state || state->queueId != m_mutex.queueId) {
            return 1;
        }
        if (state->owner != 0 || state->made < before || state->made > std::time(nullptr)) {
            return 2;
        }
        return !common::RemoveNamedMutex(*state) && errno == EACCES ? 0 : 3;
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
    const std::optional<common::NamedMutexState> state = common::FindNamedMutex(kName);
    ASSERT_TRUE(state);
    EXPECT_EQ(state->owner, 65'534U);
    EXPECT_TRUE(common::RemoveNamedMutex(*state));
    EXPECT_EQ(QueueOf(kKey), -1);
    ::msgctl(others[0], IPC_RMID, nullptr);
    ::msgctl(others[2], IPC_RMID, nullptr);
}

TEST_F(NamedMutex, OneMadeAnewIsLeftAlone) {
    Block();
    const std::optional<common::NamedMutexState> old = common::FindNamedMutex(kName);
    ASSERT_TRUE(old);
    RemoveQueue();
    EXPECT_FALSE(common::RemoveNamedMutex(*old));
    EXPECT_TRUE(errno == EIDRM || errno == EINVAL) << std::strerror(errno);

    Block();
    EXPECT_FALSE(common::RemoveNamedMutex(*old));
    EXPECT_TRUE(errno == EIDRM || errno == EINVAL) << std::strerror(errno);
    EXPECT_GE(QueueOf(kKey), 0);

    // Even one that got the old one's number.
    common::NamedMutexState sameNumber = *common::FindNamedMutex(kName);
    --sameNumber.made;
    EXPECT_FALSE(common::RemoveNamedMutex(sameNumber));
    EXPECT_EQ(errno, EIDRM);
    EXPECT_GE(QueueOf(kKey), 0);
}

}  // namespace
