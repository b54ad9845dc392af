#include <chrono>
#include <cstdint>
#include <future>
#include <gmock/gmock.h>
#include <memory>

#include <QCoreApplication>
#include <QEventLoop>

#include "tests/support/scratch.h"
#include "tests/unit/scan/engine_callback_fixture.h"

// Asking the user about a detection while the engine waits.

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

TEST_F(EngineCallback, TheEngineWaitsForTheUsersAnswer) {
    SetAnswers(kActionPrompt, 0, 0);
    m_dialog.m_onPrompt = [] {};
    const tagZQFILEINFO info = Message(1001);
    auto reply =
        std::async(std::launch::async, [&] { return ZqCallBack(&info, m_dialog.Context()); });
    const auto limit = std::chrono::steady_clock::now() + 10s;
    while (m_dialog.m_received.size() < 2 && std::chrono::steady_clock::now() < limit) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    EXPECT_THAT(m_dialog.Types(), ElementsAre(1102, 1103));
    EXPECT_EQ(reply.wait_for(50ms), std::future_status::timeout);
    g_myScnopts = {2, 0};
    m_dialog.Run().Answer();
    EXPECT_EQ(reply.get(), 2002);
}

TEST_F(EngineCallback, CancellingThePromptStops) {
    SetAnswers(kActionPrompt, 2, 0);
    for (const int code : {1001, 1007}) {
        for (const std::uint8_t all : {std::uint8_t{0}, std::uint8_t{1}}) {
            m_dialog.m_stop.Clear();
            m_dialog.m_onPrompt = [this, all] {
                g_myScnopts = {0, all};
                m_dialog.m_stop.Set();
                m_dialog.Run().Answer();
            };
            EXPECT_EQ(Reply(code), 2004) << code;
            g_myScnopts = {};
        }
    }
}

TEST_F(EngineCallback, WhatWasAskedAboutIsTheLastDetectionReported) {
    m_dialog.m_onPrompt = [this] {
        g_myScnopts = {1, 0};
        m_dialog.Run().Answer();
    };
    ReportBefore(1007);
    SetAnswers(kActionPrompt, 0, 0);
    EXPECT_EQ(Reply(1001), 2001);
    EXPECT_EQ(Reply(3002), 2002) << "a failed repair of the first kind is deleted";
    ReportBefore(1001);
    SetAnswers(kActionPrompt, 0, 0);
    EXPECT_EQ(Reply(1007), 2001);
    EXPECT_EQ(Reply(3002), 2004) << "one of the second kind stops";
}

TEST_F(EngineCallback, ApplyToAllAsksOnlyOnce) {
    SetAnswers(kActionPrompt, 0, 0);
    m_dialog.m_onPrompt = [this] {
        g_myScnopts = {3, 1};
        m_dialog.Run().Answer();
    };
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(Reply(1001), 2003);
    }
    EXPECT_THAT(m_dialog.Types(), ElementsAre(1102, 1103, 1102, 1102, 1102, 1102));
}

TEST_F(EngineCallback, WithoutApplyToAllEveryDetectionIsAskedAbout) {
    SetAnswers(kActionPrompt, 0, 0);
    std::uint16_t choice = 0;
    m_dialog.m_onPrompt = [this, &choice] {
        g_myScnopts = {choice++, 0};
        m_dialog.Run().Answer();
    };
    EXPECT_EQ(Reply(1001), 2001);
    EXPECT_EQ(Reply(1001), 2001);
    EXPECT_EQ(Reply(1007), 2004);
    EXPECT_EQ(Reply(1007), 2003);
    EXPECT_THAT(m_dialog.Types(), ElementsAre(1102, 1103, 1102, 1103, 1102, 1103, 1102, 1103));
}

TEST_F(EngineCallback, ApplyToAllDoesNotOverruleOtherActions) {
    SetAnswers(kActionReportOnly, 2, 1);
    EXPECT_EQ(Reply(1001), 2003);
    SetAnswers(kActionDelete, 3, 1);
    EXPECT_EQ(Reply(1001), 2002);
}

TEST_F(EngineCallback, ADialogThatGoesAwayStopsTheCallThatWaitsForItsAnswer) {
    SetAnswers(kActionPrompt, 0, 0);
    auto dialog = std::make_unique<RecordingDialog>();
    void* context = dialog->Context();
    const tagZQFILEINFO info = Message(1001);
    auto reply = std::async(std::launch::async, [&] { return ZqCallBack(&info, context); });
    ASSERT_TRUE(WaitUntil([&] { return dialog->WaitingEvents() == 2; }));
    dialog.reset();
    EXPECT_EQ(reply.get(), 2004);
}

}  // namespace
