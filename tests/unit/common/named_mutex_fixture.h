#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/msg.h>

#include "common/named_mutex.h"
#include "tests/support/scratch.h"

inline constexpr char kName[] = "77011";
inline constexpr key_t kKey = 77'011;

inline int QueueOf(key_t key) {
    return ::msgget(key, 0);
}

/// Number of the queues of the whole IPC namespace.
inline int CountQueues() {
    msginfo info{};
    EXPECT_GE(::msgctl(0, MSG_INFO, reinterpret_cast<msqid_ds*>(&info)), 0);
    return info.msgpool;
}

inline std::chrono::milliseconds Since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start);
}

/// A mutex that nobody holds when the test starts, and nobody when it has ended.
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

    tagMUTEX_INFO m_mutex{4711, "before"};
};
