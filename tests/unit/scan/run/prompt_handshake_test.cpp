#include "scan/run/prompt_handshake.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

#include "common/run_state.h"

namespace {

using namespace std::chrono_literals;

bool IsReady(const std::future<void>& future, std::chrono::milliseconds limit) {
    return future.wait_for(limit) == std::future_status::ready;
}

class Handshake : public ::testing::Test {
protected:
    // Asks in a thread of its own, and returns when the question is posted.
    std::future<void> Ask() {
        const auto posted = std::make_shared<std::promise<void>>();
        auto asking = std::async(std::launch::async, [this, posted] {
            m_handshake.AskAndWait([&posted] { posted->set_value(); });
        });
        posted->get_future().wait();
        return asking;
    }

    scan::PromptHandshake m_handshake;
};

TEST_F(Handshake, WaitsUntilWoken) {
    const auto asking = Ask();
    EXPECT_FALSE(IsReady(asking, 50ms));
    m_handshake.Answer();
    EXPECT_TRUE(IsReady(asking, 10s));
}

TEST_F(Handshake, AnAnswerThatComesAtOnceIsNotLost) {
    for (int i = 0; i < 500; ++i) {
        // The answer is under way before the asking thread has begun to wait.
        std::future<void> answer;
        auto asking = std::async(std::launch::async, [&] {
            m_handshake.AskAndWait(
                [&] { answer = std::async(std::launch::async, [&] { m_handshake.Answer(); }); });
        });
        ASSERT_TRUE(IsReady(asking, 10s)) << i;
    }
}

TEST_F(Handshake, AnEarlierWakeUpAnswersNoLaterQuestion) {
    m_handshake.Answer();
    const auto asking = Ask();
    EXPECT_FALSE(IsReady(asking, 50ms));
    m_handshake.Answer();
    EXPECT_TRUE(IsReady(asking, 10s));
}

TEST_F(Handshake, AWakeUpWithoutAnAnswerIsWaitedThrough) {
    const auto asking = Ask();
    for (int i = 0; i < 20; ++i) {
        g_waitForPrompt.notify_all();
        EXPECT_FALSE(IsReady(asking, 1ms));
    }
    m_handshake.Answer();
    EXPECT_TRUE(IsReady(asking, 10s));
}

TEST_F(Handshake, WhatTheAnswerWroteIsSeen) {
    for (std::uint16_t i = 0; i < 100; ++i) {
        std::future<void> answer;
        m_handshake.AskAndWait([&] {
            answer = std::async(std::launch::async, [this, i] {
                g_myScnopts = {i, 1};
                m_handshake.Answer();
            });
        });
        answer.wait();
        EXPECT_EQ(static_cast<int>(g_myScnopts.choice), i);
    }
    g_myScnopts = {};
}

TEST_F(Handshake, AQuestionThatCannotBePostedIsNotWaitedFor) {
    EXPECT_THROW(m_handshake.AskAndWait([] { throw std::runtime_error("no room"); }),
                 std::runtime_error);
    m_handshake.Answer();  // and the lock is free again
}

TEST_F(Handshake, AnAnswerFromWithinTheQuestionCounts) {
    auto asking = std::async(std::launch::async,
                             [&] { m_handshake.AskAndWait([&] { m_handshake.Answer(); }); });
    ASSERT_TRUE(IsReady(asking, 10s));
}

TEST_F(Handshake, ClosingAnswersTheOpenQuestionAndAllToCome) {
    EXPECT_FALSE(m_handshake.IsClosed());
    const auto asking = Ask();
    EXPECT_FALSE(IsReady(asking, 50ms));
    m_handshake.Close();
    EXPECT_TRUE(IsReady(asking, 10s));
    EXPECT_TRUE(m_handshake.IsClosed());
    bool wasAsked = false;
    m_handshake.AskAndWait([&] { wasAsked = true; });
    EXPECT_FALSE(wasAsked);
}

}  // namespace
