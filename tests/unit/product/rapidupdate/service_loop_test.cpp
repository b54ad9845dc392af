#include "product/rapidupdate/service_loop.h"

#include <deque>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// The service in a world whose clock the test turns.

namespace rapidupdate {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FakeWorld : public Surroundings {
public:
    Seconds Now() override { return m_now; }
    bool WaitUntil(Seconds due) override {
        waits.push_back((due - m_now).count());
        if (waits.size() > maxWaits) {
            return false;
        }
        m_now = std::max(m_now, due);
        if (onWait) {
            onWait();
        }
        return true;
    }
    double Random() override { return 0.5; }
    bool AreUpdatesOn() override { return areOn; }
    bool IsMetered() override { return isMetered; }
    Outcome Update() override {
        updates.push_back(m_now.count());
        const Outcome outcome = outcomes.empty() ? Outcome::kDone : outcomes.front();
        if (!outcomes.empty()) {
            outcomes.pop_front();
        }
        return outcome;
    }
    void Log(const char* message) override { messages.emplace_back(message); }

    void Pass(Seconds time) { m_now += time; }

    std::size_t maxWaits = 3;
    std::function<void()> onWait;
    bool areOn = true;
    bool isMetered = false;
    std::deque<Outcome> outcomes;
    std::vector<long> waits;    ///< how many seconds each was told to last
    std::vector<long> updates;  ///< when they began
    std::vector<std::string> messages;

private:
    Seconds m_now{100};
};

TEST(ServiceLoop, RunsWhenTheFirstIsDueAndThenEveryFourHours) {
    FakeWorld world;
    RunService(world, Seconds(400));
    EXPECT_THAT(world.waits, ElementsAre(300, 14400, 14400, 14400));
    EXPECT_THAT(world.updates, ElementsAre(400, 14800, 29200));
}

TEST(ServiceLoop, EndsWithoutARunWhenItIsToldToBeforeTheFirst) {
    FakeWorld world;
    world.maxWaits = 0;
    RunService(world, Seconds(400));
    EXPECT_THAT(world.updates, IsEmpty());
}

TEST(ServiceLoop, ASleepThatMissedSeveralRunsIsFollowedByOneAtOnce) {
    FakeWorld world;
    // The machine falls asleep in the second wait and wakes up ten hours after the run was due.
    world.onWait = [&] {
        if (world.waits.size() == 2) {
            world.Pass(Seconds(36000));
        }
    };
    RunService(world, Seconds(100));
    EXPECT_THAT(world.updates, ElementsAre(100, 100 + 14400 + 36000, 50500 + 14400));
}

TEST(ServiceLoop, FailuresAreTriedAgainLaterAndLaterUntilOneSucceeds) {
    FakeWorld world;
    world.maxWaits = 6;
    world.outcomes = {Outcome::kFailed, Outcome::kFailed, Outcome::kFailed, Outcome::kDone,
                      Outcome::kFailed};
    RunService(world, Seconds(100));
    EXPECT_THAT(world.waits, ElementsAre(0, 337, 675, 1350, 14400, 337, 14400));
}

TEST(ServiceLoop, NothingRunsOnAMeteredConnectionUntilItIsNoneAnyMore) {
    FakeWorld world;
    world.isMetered = true;
    world.maxWaits = 4;
    world.onWait = [&] { world.isMetered = world.waits.size() < 4; };
    RunService(world, Seconds(100));
    EXPECT_THAT(world.updates, ElementsAre(100 + 3 * 600));
    EXPECT_THAT(world.messages, ElementsAre("the update is put off: the connection is metered"));
}

TEST(ServiceLoop, NothingRunsWhileUpdatesAreOff) {
    FakeWorld world;
    world.areOn = false;
    world.isMetered = true;
    world.maxWaits = 3;
    world.onWait = [&] {
        world.areOn = world.waits.size() == 3;
        world.isMetered = false;
    };
    RunService(world, Seconds(100));
    EXPECT_THAT(world.updates, ElementsAre(100 + 2 * 600));
    EXPECT_THAT(world.messages, ElementsAre("automatic updates are switched off"));
}

TEST(ServiceLoop, WhatIsPutOffIsNoSuccess) {
    FakeWorld world;
    world.maxWaits = 4;
    world.outcomes = {Outcome::kFailed, Outcome::kFailed};
    world.onWait = [&] { world.isMetered = world.waits.size() == 2; };
    RunService(world, Seconds(100));
    EXPECT_THAT(world.waits, ElementsAre(0, 337, 600, 675, 14400));
}

TEST(LockWait, ALockThatIsFreeIsTakenAtOnce) {
    FakeWorld world;
    EXPECT_TRUE(WaitForLock(world, [] { return true; }));
    EXPECT_THAT(world.waits, IsEmpty());
    EXPECT_THAT(world.messages, IsEmpty());
}

TEST(LockWait, ALockThatBecomesFreeIsTaken) {
    FakeWorld world;
    int tries = 0;
    EXPECT_TRUE(WaitForLock(world, [&] { return ++tries == 3; }));
    EXPECT_THAT(world.waits, ElementsAre(5, 5));
    EXPECT_THAT(world.messages, IsEmpty());
}

TEST(LockWait, AfterHalfAnHourItGoesOnWithoutIt) {
    FakeWorld world;
    world.maxWaits = 1000;
    EXPECT_TRUE(WaitForLock(world, [] { return false; }));
    EXPECT_EQ(world.Now().count(), 100 + 1800);
    EXPECT_THAT(world.messages,
                ElementsAre("the other update has taken half an hour; going on beside it"));
}

TEST(LockWait, EndsWithTheService) {
    FakeWorld world;
    world.maxWaits = 2;
    EXPECT_FALSE(WaitForLock(world, [] { return false; }));
    EXPECT_THAT(world.waits, ElementsAre(5, 5, 5));
}

}  // namespace
}  // namespace rapidupdate
