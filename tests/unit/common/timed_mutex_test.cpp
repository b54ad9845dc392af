// A mutex that is waited for for a limited time.

#include "common/timed_mutex.h"

#include <future>
#include <gtest/gtest.h>
#include <thread>

namespace {

using common::TimedMutex;
using std::chrono::milliseconds;

bool CanBeHadElsewhere(TimedMutex& mutex) {
    return std::async(std::launch::async,
                      [&mutex] {
                          const std::unique_lock lock(mutex, std::try_to_lock);
                          return lock.owns_lock();
                      })
        .get();
}

TEST(TimedMutex, IsHeldByOneAtATime) {
    TimedMutex mutex;
    {
        const std::scoped_lock lock(mutex);
        EXPECT_FALSE(CanBeHadElsewhere(mutex));
    }
    EXPECT_TRUE(CanBeHadElsewhere(mutex));
    EXPECT_TRUE(CanBeHadElsewhere(mutex)) << "it was given back";
}

TEST(TimedMutex, IsGivenUpAfterTheTime) {
    TimedMutex mutex;
    const std::scoped_lock held(mutex);
    const auto begin = std::chrono::steady_clock::now();
    const std::unique_lock lock(mutex, milliseconds(50));
    EXPECT_FALSE(lock.owns_lock());
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(50));
}

TEST(TimedMutex, IsHadAsSoonAsItIsFree) {
    TimedMutex mutex;
    std::unique_lock held(mutex);
    std::promise<void> asked;
    auto had = std::async(std::launch::async, [&] {
        asked.set_value();
        const std::unique_lock lock(mutex, std::chrono::hours(1));
        return lock.owns_lock();
    });
    asked.get_future().wait();
    held.unlock();
    EXPECT_TRUE(had.get());
}

TEST(TimedMutex, KeepsWhatItGuards) {
    constexpr int kRounds = 10000;
    TimedMutex mutex;
    int count = 0;
    const auto work = [&] {
        for (int i = 0; i < kRounds; ++i) {
            const std::scoped_lock lock(mutex);
            ++count;
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(count, 2 * kRounds);
}

}  // namespace
