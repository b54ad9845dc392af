#include "product/updturl/conversation.h"

#include <array>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <utility>
#include <vector>

#include "common/io.h"
#include "product/updturl/progress_listener.h"
#include "tests/support/patient_clock.h"
#include "tests/support/scratch.h"

namespace updturl {
namespace {

using namespace std::chrono_literals;
using Clock = Conversation::Clock;

/// What the callback was told, and what it answers.
struct Watcher {
    static int Called(const tagUPDATEINFO* info, void* context) {
        auto& self = *static_cast<Watcher*>(context);
        self.told.emplace_back(info->status, info->fileName);
        self.toldAt.push_back(PatientClock::now());
        self.thread = std::this_thread::get_id();
        ++self.calls;
        if (self.told.size() < self.stopAtCall) {
            return kUpdateGoOn;
        }
        std::exchange(self.atStop, [] {})();
        return kUpdateStop;
    }

    /// In another thread: waits until it was called so many times.
    void WaitForCalls(std::size_t count) const {
        EXPECT_TRUE(WaitUntil([&] { return calls >= count; }, 60s));
    }

    std::vector<std::pair<int, std::string>> told;
    std::vector<PatientClock::time_point> toldAt;
    std::thread::id thread;
    std::size_t stopAtCall = 1'000'000;
    std::function<void()> atStop = [] {};  ///< done once, before the first wish to stop
    std::atomic<std::size_t> calls = 0;
};

class ConversationTest : public testing::Test {
protected:
    void SetUp() override {
        std::array<int, 2> ends{};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        m_ours.Reset(ends[0]);
        m_theirs.Reset(ends[1]);
    }

    /// What the other side hears until it has heard `end`.
    std::string HearUntil(const std::string& end) {
        std::string heard;
        char byte = 0;
        while (!heard.ends_with(end) && read(m_theirs.Get(), &byte, 1) == 1) {
            heard += byte;
        }
        return heard;
    }

    Ending Hold(const std::string& words = "go\n", const ConversationRules& rules = {}) {
        m_conversation.emplace(std::move(m_ours), m_listener);
        const auto begun = Clock::now();
        const auto patientlyBegun = PatientClock::now();
        const Ending ending = m_conversation->Hold(words, rules);
        m_took = Clock::now() - begun;
        m_tookPatiently = PatientClock::now() - patientlyBegun;
        return ending;
    }

    common::FileDescriptor m_ours;
    common::FileDescriptor m_theirs;
    Watcher m_watcher;
    ProgressListener m_listener{&Watcher::Called, &m_watcher};
    std::optional<Conversation> m_conversation;
    Clock::duration m_took{};
    PatientClock::duration m_tookPatiently{};
};

TEST_F(ConversationTest, TheCallbackIsToldEachStatusOnTheCallingThread) {
    ASSERT_TRUE(common::WriteAll(
        m_theirs.Get(),
        "status 2003\nnonsense\nstatus 2006 daily%20.cvd\nstatus 2015\nresult 1\n"));
    EXPECT_EQ(Hold(), Ending::kResult);
    EXPECT_EQ(m_conversation->Result(), 1);
    EXPECT_EQ(m_watcher.told, (std::vector<std::pair<int, std::string>>{
                                  {2000, ""}, {2003, ""}, {2006, "daily .cvd"}, {2015, ""}}));
    EXPECT_EQ(m_watcher.thread, std::this_thread::get_id());
    EXPECT_EQ(HearUntil("go\n"), "go\n");
}

TEST_F(ConversationTest, WhileNothingHappensTheLastStatusIsRepeatedFourTimesASecond) {
    std::thread other([this] {
        common::WriteAll(m_theirs.Get(), "status 2006 main.cvd\n");
        m_watcher.WaitForCalls(16);
        common::WriteAll(m_theirs.Get(), "result 2\n");
    });
    EXPECT_EQ(Hold(), Ending::kResult);
    other.join();
    ASSERT_GE(m_watcher.told.size(), 16U);
    EXPECT_GE(m_took, 700ms) << "not all the time, either";
    EXPECT_EQ(m_watcher.told.back(), (std::pair<int, std::string>{2006, "main.cvd"}));
    for (std::size_t call = 1; call < m_watcher.toldAt.size(); ++call) {
        EXPECT_LT(m_watcher.toldAt[call] - m_watcher.toldAt[call - 1], 250ms);
    }
}

TEST_F(ConversationTest, AnEndWithoutAResultIsNone) {
    ASSERT_TRUE(common::WriteAll(m_theirs.Get(), "status 2005\nresult 1"));  // torn
    m_theirs.Reset();
    EXPECT_EQ(Hold(), Ending::kSilence);
    EXPECT_EQ(m_conversation->Result(), std::nullopt);
}

TEST_F(ConversationTest, ALineThatNeverEndsEndsIt) {
    std::thread other([this] { common::WriteAll(m_theirs.Get(), std::string(5000, 'a')); });
    EXPECT_EQ(Hold(), Ending::kSilence);
    other.join();
}

TEST_F(ConversationTest, ALongRequestIsSentWhileMessagesCome) {
    const std::string words(900'000, 'w');
    std::string heard;
    std::thread other([&] {
        common::WriteAll(m_theirs.Get(), "status 2001\n");
        heard = HearUntil("!");
        common::WriteAll(m_theirs.Get(), "result 2\n");
    });
    EXPECT_EQ(Hold(words + "!"), Ending::kResult);
    other.join();
    EXPECT_EQ(heard, words + "!");
}

TEST_F(ConversationTest, AWishToStopIsSaidAndTheAnswerIsTheResult) {
    m_watcher.stopAtCall = 2;
    std::string heard;
    std::thread other([&] {
        heard = HearUntil("stop\n");
        common::WriteAll(m_theirs.Get(), "result 3\n");
    });
    EXPECT_EQ(Hold("go\n", {.end = {}, .timeToStop = 60s}), Ending::kResult);
    other.join();
    EXPECT_EQ(heard, "go\nstop\n");
    EXPECT_EQ(m_conversation->Result(), 3);
}

TEST_F(ConversationTest, WhoDoesNotAnswerAWishToStopIsGivenUpInTime) {
    m_watcher.stopAtCall = 1;
    EXPECT_EQ(Hold(), Ending::kStopped);
    EXPECT_LT(m_tookPatiently, 200ms);
    EXPECT_EQ(HearUntil("stop\n"), "go\nstop\n");
}

TEST_F(ConversationTest, WhoLeavesAfterAWishToStopHasStopped) {
    m_watcher.stopAtCall = 1;
    std::thread other([&] {
        HearUntil("stop\n");
        m_theirs.Reset();
    });
    EXPECT_EQ(Hold(), Ending::kStopped);
    other.join();
}

TEST_F(ConversationTest, ASwitchThatHasBegunIsWaitedFor) {
    m_watcher.stopAtCall = 2;
    std::thread other([&] {
        m_watcher.WaitForCalls(8);  // it goes on being told
        common::WriteAll(m_theirs.Get(), "result 1\n");
    });
    ASSERT_TRUE(common::WriteAll(m_theirs.Get(), "status 2015\nswitching\n"));
    EXPECT_EQ(Hold(), Ending::kResult);
    other.join();
    EXPECT_EQ(m_conversation->Result(), 1);
}

TEST_F(ConversationTest, ASwitchThatBeginsWhileAskedToStopIsWaitedFor) {
    m_watcher.stopAtCall = 1;
    // What is heard next, however long a busy machine takes over it.
    m_watcher.atStop = [this] { common::WriteAll(m_theirs.Get(), "switching\n"); };
    std::thread other([&] {
        EXPECT_EQ(HearUntil("stop\n"), "go\nstop\n");
        std::this_thread::sleep_for(400ms);  // more than is given to who does not switch
        common::WriteAll(m_theirs.Get(), "result 1\n");
    });
    EXPECT_EQ(Hold(), Ending::kResult);
    other.join();
    EXPECT_EQ(m_conversation->Result(), 1);
}

TEST_F(ConversationTest, WhoLeavesInTheMiddleOfASwitchHasNotStopped) {
    m_watcher.stopAtCall = 2;
    ASSERT_TRUE(common::WriteAll(m_theirs.Get(), "switching\n"));
    m_theirs.Reset();
    EXPECT_EQ(Hold(), Ending::kSilence);
}

TEST_F(ConversationTest, WhoMayNotSwitchIsNotWaitedFor) {
    m_watcher.stopAtCall = 2;
    ASSERT_TRUE(common::WriteAll(m_theirs.Get(), "status 2015\nswitching\n"));
    EXPECT_EQ(Hold("go\n", {.end = {}, .timeToStop = 0ms, .maySwitch = false}), Ending::kStopped);
    EXPECT_LT(m_tookPatiently, 100ms);
}

TEST_F(ConversationTest, ARunWithALimitIsOverByThen) {
    EXPECT_EQ(Hold("go\n", {.end = Clock::now() + 300ms}), Ending::kTooLate);
    EXPECT_GE(m_took, 300ms);
    EXPECT_LT(m_tookPatiently, 600ms);
    EXPECT_EQ(HearUntil("stop\n"), "go\nstop\n");
}

TEST_F(ConversationTest, NobodyHasToListen) {
    m_listener = ProgressListener(nullptr, nullptr);
    ASSERT_TRUE(common::WriteAll(m_theirs.Get(), "status 2003\nresult 2\n"));
    EXPECT_EQ(Hold(), Ending::kResult);
    EXPECT_EQ(m_conversation->Result(), 2);
}

TEST_F(ConversationTest, WhatWasSaidBeforeTheEndIsHeardAfterwards) {
    m_watcher.stopAtCall = 1;
    EXPECT_EQ(Hold(), Ending::kStopped);
    ASSERT_TRUE(common::WriteAll(m_theirs.Get(), "status 2015\nswitching\nresult 1\n"));
    m_conversation->HearTheRest();
    EXPECT_EQ(m_conversation->Result(), 1);
}

TEST_F(ConversationTest, AFileNameThatIsTooLongIsCutToItsField) {
    ASSERT_TRUE(
        common::WriteAll(m_theirs.Get(), "status 2006 " + std::string(2000, 'n') + "\nresult 1\n"));
    EXPECT_EQ(Hold(), Ending::kResult);
    EXPECT_EQ(m_watcher.told.at(1).second, std::string(1023, 'n'));
}

}  // namespace
}  // namespace updturl
