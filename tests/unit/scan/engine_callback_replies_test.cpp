#include <array>
#include <cstddef>
#include <cstdint>
#include <gmock/gmock.h>
#include <string>
#include <vector>

#include <QCoreApplication>

#include "tests/unit/scan/engine_callback_fixture.h"

// What each message of the engine is answered, whatever the settings.

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kAllCodes[] = {1001, 1002, 1003, 1004, 1005, 1007, 3001, 3002, 3003, 3004, 3006};
constexpr int kOtherCodes[] = {0,    1,    -1,   999,  1000, 1006,  1008, 2001,
                               2004, 3000, 3005, 3007, 4001, -1001, 32767};

// First in the first file of this program: it needs a process in which nothing has been reported.
TEST_F(EngineCallback, AFailedRepairBeforeAnyDetectionIsNotOneOfTheFirstKind) {
    if (reportedBefore) {
        GTEST_SKIP() << "something has been reported in this process already";
    }
    g_scnopts.action = kActionRepairOrDelete;
    EXPECT_EQ(Reply(3002), 2004);
    EXPECT_THAT(m_dialog.Types(), ElementsAre(1106));
}

TEST_F(EngineCallback, WithoutMessageOrDialogTheEngineGoesOn) {
    const tagZQFILEINFO info = Message(1001);
    m_dialog.m_stop.Set();
    EXPECT_EQ(ZqCallBack(nullptr, m_dialog.Context()), 2005);
    EXPECT_EQ(ZqCallBack(&info, nullptr), 2005);
    EXPECT_EQ(ZqCallBack(nullptr, nullptr), 2005);
    QCoreApplication::processEvents();
    EXPECT_THAT(m_dialog.Types(), IsEmpty());
}

TEST_F(EngineCallback, ALateCallForADialogThatIsGoneStops) {
    void* context = nullptr;
    {
        RecordingDialog closed;
        context = closed.Context();
        const tagZQFILEINFO info = Message(1002);
        EXPECT_EQ(ZqCallBack(&info, context), 2005);
    }
    int noDialog = 0;
    for (const int code : kAllCodes) {
        const tagZQFILEINFO info = Message(code);
        EXPECT_EQ(ZqCallBack(&info, context), 2004) << code;
        EXPECT_EQ(ZqCallBack(&info, &noDialog), 2004) << code;
    }
    EXPECT_EQ(ZqCallBack(nullptr, context), 2005);
    EXPECT_EQ(g_iCleanFileSeqCnt, 1) << "of the call in time";
    EXPECT_THAT(logRecords, IsEmpty());
}

TEST_F(EngineCallback, TheStopFlagStopsEveryMessageBeforeAnythingElse) {
    m_dialog.m_stop.Set();
    for (const int code : kAllCodes) {
        EXPECT_EQ(Reply(code), 2004) << code;
    }
    for (const int code : kOtherCodes) {
        EXPECT_EQ(Reply(code), 2004) << code;
    }
    EXPECT_THAT(m_dialog.Types(), IsEmpty());
    EXPECT_THAT(logRecords, IsEmpty());
    EXPECT_EQ(g_iCleanFileSeqCnt, 0);
    m_dialog.m_stop.Clear();
    EXPECT_EQ(Reply(1001), 2003);
}

TEST_F(EngineCallback, DetectionsAreAnsweredByActionThenByChoice) {
    struct Kind {
        int code;
        std::array<int, 4> replies;  // by action or by choice
    };
    for (const Kind& kind :
         {Kind{1001, {2001, 2001, 2002, 2003}}, Kind{1007, {2001, 2001, 2004, 2003}}}) {
        for (const int previous : {1001, 1007}) {
            ReportBefore(previous);
            ForEverySetting([&](int action, int choice, int all) {
                // The user answers what the row says, with the settings untouched until then.
                if (action == 4 && all == 0) {
                    g_myScnopts = {};
                }
                m_dialog.m_onPrompt = [this, choice] {
                    g_myScnopts = {static_cast<std::uint16_t>(choice), 0};
                    m_dialog.Run().Answer();
                };
                const int decided = action == 4 ? choice : action;
                EXPECT_EQ(Reply(kind.code), kind.replies.at(static_cast<std::size_t>(decided)))
                    << Row(kind.code, previous, action, choice, all);
                if (action == 4 && all == 0) {
                    EXPECT_THAT(m_dialog.Types(), ElementsAre(1102, 1103))
                        << Row(kind.code, previous, action, choice, all);
                } else {
                    EXPECT_THAT(m_dialog.Types(), ElementsAre(1102))
                        << Row(kind.code, previous, action, choice, all);
                }
                EXPECT_EQ(g_uiSkipCnt, 0U);
                EXPECT_THAT(logRecords, IsEmpty());
            });
        }
    }
}

TEST_F(EngineCallback, ADecisionDeletesForActionOrChoiceOneOrTwo) {
    constexpr int kReplies[5][4] = {{2005, 2002, 2002, 2005},
                                    {2002, 2002, 2002, 2002},
                                    {2002, 2002, 2002, 2002},
                                    {2005, 2002, 2002, 2005},
                                    {2005, 2002, 2002, 2005}};
    for (const int previous : {1001, 1007}) {
        ReportBefore(previous);
        ForEverySetting([&](int action, int choice, int all) {
            const std::string row = Row(1004, previous, action, choice, all);
            EXPECT_EQ(Reply(1004), kReplies[action][choice]) << row;
            EXPECT_EQ(g_uiSkipCnt, kReplies[action][choice] == 2002 ? 1U : 0U) << row;
            EXPECT_THAT(m_dialog.Types(), ElementsAre(1111)) << row;
            EXPECT_THAT(logRecords, IsEmpty()) << row;
        });
    }
}

TEST_F(EngineCallback, AFailedRepairOfTheFirstKindIsDeletedForActionOrChoiceOne) {
    constexpr int kReplies[5][4] = {{2005, 2002, 2005, 2005},
                                    {2002, 2002, 2002, 2002},
                                    {2005, 2002, 2005, 2005},
                                    {2005, 2002, 2005, 2005},
                                    {2005, 2002, 2005, 2005}};
    ReportBefore(1001);
    ForEverySetting([&](int action, int choice, int all) {
        const std::string row = Row(3002, 1001, action, choice, all);
        EXPECT_EQ(Reply(3002), kReplies[action][choice]) << row;
        if (kReplies[action][choice] == 2002) {
            EXPECT_THAT(m_dialog.Types(), IsEmpty()) << row;
        } else {
            EXPECT_THAT(m_dialog.Types(), ElementsAre(1106)) << row;
        }
        EXPECT_EQ(g_uiSkipCnt, 0U) << row;
        EXPECT_THAT(logRecords, IsEmpty()) << row;
    });
}

TEST_F(EngineCallback, AFailedRepairOfTheSecondKindStopsForActionOrChoiceOne) {
    constexpr int kReplies[5][4] = {{2005, 2004, 2005, 2005},
                                    {2004, 2004, 2004, 2004},
                                    {2005, 2004, 2005, 2005},
                                    {2005, 2004, 2005, 2005},
                                    {2005, 2004, 2005, 2005}};
    ReportBefore(1007);
    ForEverySetting([&](int action, int choice, int all) {
        const std::string row = Row(3002, 1007, action, choice, all);
        EXPECT_EQ(Reply(3002), kReplies[action][choice]) << row;
        EXPECT_THAT(m_dialog.Types(), ElementsAre(1106)) << row;
        EXPECT_THAT(logRecords, IsEmpty()) << row;
    });
}

TEST_F(EngineCallback, AllOtherMessagesLetTheEngineGoOnWhateverTheSettings) {
    struct Plain {
        int code;
        std::vector<int> events;
        std::vector<LogRecord> records;
    };
    const Plain plain[] = {
        {1002, {}, {}},
        {1003, {1100}, {}},
        {1005, {1110}, {}},
        {3001, {1105}, {{8000, kFile, kVirus, "File is Repaired"}}},
        {3003, {1104}, {{8000, kFile, kVirus, "File is Deleted"}}},
        {3004, {1106}, {{8000, kFile, kVirus, "File is skipped"}}},
        {3006, {}, {{8000, kFile, kVirus, "File is Marked for deletion"}}},
    };
    for (const int previous : {1001, 1007}) {
        ReportBefore(previous);
        for (const Plain& each : plain) {
            ForEverySetting([&](int action, int choice, int all) {
                const std::string row = Row(each.code, previous, action, choice, all);
                EXPECT_EQ(Reply(each.code), 2005) << row;
                EXPECT_EQ(m_dialog.Types(), each.events) << row;
                EXPECT_EQ(logRecords, each.records) << row;
                EXPECT_EQ(g_uiSkipCnt, 0U) << row;
            });
        }
    }
}

TEST_F(EngineCallback, MessagesOfNoMeaningAreLetThrough) {
    for (const int code : kOtherCodes) {
        EXPECT_EQ(Reply(code), 2005) << code;
    }
    EXPECT_THAT(m_dialog.Types(), IsEmpty());
    EXPECT_THAT(logRecords, IsEmpty());
    EXPECT_EQ(g_iCleanFileSeqCnt, 0);
}

TEST_F(EngineCallback, ActionsAndChoicesOfNoMeaningLeaveTheFile) {
    for (const int action : {5, 7, 255, 256, 65535}) {
        SetAnswers(action, 0, 0);
        EXPECT_EQ(Reply(1001), 2003) << action;
        EXPECT_EQ(Reply(1007), 2003) << action;
    }
    for (const int choice : {4, 5, 256, 65535}) {
        SetAnswers(kActionPrompt, choice, 1);
        EXPECT_EQ(Reply(1001), 2003) << choice;
        EXPECT_EQ(Reply(1007), 2003) << choice;
    }
}

}  // namespace
