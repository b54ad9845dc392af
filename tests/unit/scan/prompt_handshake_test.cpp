#include "scan/run/prompt_handshake.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <stdexcept>

#include "common/run_state.h"

namespace {

using namespace std::chrono_literals;

bool IsReady(std::future<void>& future, std::chrono::milliseconds limit) {
    return future.wait_for(limit) == std::future_status::ready;
}

TEST(PromptHandshake, WaitsUntilWoken) {
    std::promise<void> posted;
    auto asking = std::async(std::launch::async, [&] { AskAndWait([&] { posted.set_value(); }); });
    posted.get_future().wait();
    EXPECT_FALSE(IsReady(asking, 50ms));
    WakePrompt();
    EXPECT_TRUE(IsReady(asking, 10s));
}

TEST(PromptHandshake, AnAnswerThatComesAtOnceIsNotLost) {
    for (int i = 0; i < 500; ++i) {
        // The answer is under way before the asking thread has begun to wait.
        std::future<void> answer;
        auto asking = std::async(std::launch::async, [&] {
            AskAndWait([&] { answer = std::async(std::launch::async, WakePrompt); });
        });
        ASSERT_TRUE(IsReady(asking, 10s)) << i;
    }
}

TEST(PromptHandshake, AnEarlierWakeUpAnswersNoLaterQuestion) {
    WakePrompt();
    std::promise<void> posted;
    auto asking = std::async(std::launch::async, [&] { AskAndWait([&] { posted.set_value(); }); });
    posted.get_future().wait();
    EXPECT_FALSE(IsReady(asking, 50ms));
    WakePrompt();
    EXPECT_TRUE(IsReady(asking, 10s));
}

TEST(PromptHandshake, AWakeUpWithoutAnAnswerIsWaitedThrough) {
    std::promise<void> posted;
    auto asking = std::async(std::launch::async, [&] { AskAndWait([&] { posted.set_value(); }); });
    posted.get_future().wait();
    for (int i = 0; i < 20; ++i) {
        g_waitForPrompt.notify_all();
        EXPECT_FALSE(IsReady(asking, 1ms));
    }
    WakePrompt();
    EXPECT_TRUE(IsReady(asking, 10s));
}

TEST(PromptHandshake, WhatTheAnswerWroteIsSeen) {
    for (std::uint16_t i = 0; i < 100; ++i) {
        std::future<void> answer;
        AskAndWait([&] {
            answer = std::async(std::launch::async, [i] {
                g_myScnopts = {i, 1};
                WakePrompt();
            });
        });
        answer.wait();
        EXPECT_EQ(static_cast<int>(g_myScnopts.choice), i);
    }
    g_myScnopts = {};
}

TEST(PromptHandshake, AQuestionThatCannotBePostedIsNotWaitedFor) {
    EXPECT_THROW(AskAndWait([] { throw std::runtime_error("no room"); }), std::runtime_error);
    WakePrompt();  // and the lock is free again
}

}  // namespace
