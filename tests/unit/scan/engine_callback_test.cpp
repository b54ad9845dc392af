#include "scan/engine_callback.h"

#include <array>
#include <chrono>
#include <cstring>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

#include "common/run_state.h"
#include "common/text_field.h"
#include "scan/detection_filters.h"
#include "scan/scanner.h"
#include "tests/unit/scan/recording_dialog.h"

namespace {

struct LogRecord {
    unsigned int component;
    std::string file;
    std::string virus;
    std::string action;
    bool operator==(const LogRecord&) const = default;
};
std::vector<LogRecord> logRecords;

}  // namespace

// The linker sends the program's calls of ZQVRAddRecVirusReport here (--wrap).
bool WrappedAddRecord(unsigned int component, const char* file, const char* virus,
                      const char* action) asm("__wrap__Z21ZQVRAddRecVirusReportjPKcS0_S0_");
bool WrappedAddRecord(unsigned int component, const char* file, const char* virus,
                      const char* action) {
    logRecords.push_back({component, file, virus, action});
    return true;
}

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kFile[] = "/tmp/infected.com";
constexpr char kVirus[] = "Eicar-Test-Signature";

constexpr int kAllCodes[] = {1001, 1002, 1003, 1004, 1005, 1007, 3001, 3002, 3003, 3004, 3006};
constexpr int kOtherCodes[] = {0,    1,    -1,   999,  1000, 1006,  1008, 2001,
                               2004, 3000, 3005, 3007, 4001, -1001, 32767};

tagZQFILEINFO Message(int code, const std::string& file = kFile,
                      const std::string& virus = kVirus) {
    tagZQFILEINFO info{};
    info.code = static_cast<std::int16_t>(code);
    CopyToUnterminatedField(info.fileName, file);
    CopyToUnterminatedField(info.virusName, virus);
    info.detectionClass = 1;
    info.detectionSubClass = 2;
    return info;
}

std::string Row(int code, int previous, int action, int choice, int all) {
    return "code " + std::to_string(code) + " after " + std::to_string(previous) + ", action " +
           std::to_string(action) + ", choice " + std::to_string(choice) + ", apply to all " +
           std::to_string(all);
}

bool reportedBefore = false;

class EngineCallback : public ::testing::Test {
protected:
    void SetUp() override {
        g_iCleanFileSeqCnt = 0;
        g_iCntLabViruses = 0;
        g_scnopts = {kActionReportOnly, 0};
        g_myScnopts = {};
        Scanner::m_ScanOptns = {};
        ResetRunCounters();
        logRecords.clear();
    }
    void TearDown() override { SetUp(); }

    /// The reply to a message given on a scan thread.
    int Reply(const tagZQFILEINFO& info) {
        reportedBefore = true;
        return OnScanThread([&] { return ZqCallBack(&info, m_dialog.Context()); });
    }
    int Reply(int code) { return Reply(Message(code)); }

    /// Makes `code` the last detection reported, and forgets its traces.
    void ReportBefore(int code) {
        g_scnopts.action = kActionReportOnly;
        Reply(code);
        m_dialog.m_received.clear();
        ResetRunCounters();
    }

    static void SetAnswers(int action, int choice, int all) {
        g_scnopts.action = static_cast<std::uint16_t>(action);
        g_myScnopts = {static_cast<std::uint16_t>(choice), static_cast<std::uint8_t>(all)};
    }

    /// Calls `check(action, choice, all)` for every setting of the two.
    template <typename Check>
    void ForEverySetting(Check check) {
        for (int action = 0; action <= 4; ++action) {
            for (int choice = 0; choice <= 3; ++choice) {
                for (int all = 0; all <= 1; ++all) {
                    SetAnswers(action, choice, all);
                    check(action, choice, all);
                    m_dialog.m_received.clear();
                    logRecords.clear();
                    ResetRunCounters();
                }
            }
        }
    }

    RecordingDialog m_dialog;
};

// First in this file: it needs a process in which nothing has been reported.
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
                m_dialog.m_onPrompt = [choice] {
                    g_myScnopts = {static_cast<std::uint16_t>(choice), 0};
                    WakePrompt();
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

TEST_F(EngineCallback, EventsCarryTheEnginesRecordByteForByte) {
    SetAnswers(kActionPrompt, 3, 0);
    for (const int code : {1001, 1004, 1005, 1007, 3001, 3002, 3003, 3004}) {
        tagZQFILEINFO info = Message(code, "/a/<b>\n\xFF", "V%s");
        std::memset(info.reserved1, 7, sizeof(info.reserved1));
        std::memset(info.reserved2, 9, sizeof(info.reserved2));
        m_dialog.m_received.clear();
        Reply(info);
        ASSERT_FALSE(m_dialog.m_received.empty()) << code;
        for (const auto& received : m_dialog.m_received) {
            EXPECT_EQ(std::memcmp(&received.info, &info, sizeof(info)), 0) << code;
            EXPECT_EQ(received.text, std::nullopt) << code;
        }
    }
}

TEST_F(EngineCallback, AMemberIsNamedByItsBytes) {
    const std::string names[] = {"a.zip/b.txt", "/a/<b>\n\xFF%s", "", std::string(1023, 'x'),
                                 std::string(1024, 'y')};
    for (const std::string& name : names) {
        m_dialog.m_received.clear();
        EXPECT_EQ(Reply(Message(1003, name)), 2005);
        ASSERT_THAT(m_dialog.Types(), ElementsAre(1100));
        EXPECT_EQ(m_dialog.m_received[0].text, name);
    }
}

TEST_F(EngineCallback, UnterminatedNamesGoIntoTheVirusLogWholeAndNoFurther) {
    tagZQFILEINFO info = Message(3003, std::string(1024, 'f'), std::string(50, 'v'));
    std::memset(info.reserved1, 'X', sizeof(info.reserved1));
    EXPECT_EQ(Reply(info), 2005);
    EXPECT_THAT(logRecords, ElementsAre(LogRecord{8000, std::string(1024, 'f'),
                                                  std::string(50, 'v'), "File is Deleted"}));
}

TEST_F(EngineCallback, VirusLogTextsByMessage) {
    EXPECT_STREQ(VirusLogText(3001), "File is Repaired");
    EXPECT_STREQ(VirusLogText(3003), "File is Deleted");
    EXPECT_STREQ(VirusLogText(3004), "File is skipped");
    EXPECT_STREQ(VirusLogText(3006), "File is Marked for deletion");
    for (const int code : {0, 1001, 1002, 1003, 1004, 1005, 1007, 3000, 3002, 3005, 3007}) {
        EXPECT_EQ(VirusLogText(static_cast<std::int16_t>(code)), nullptr) << code;
    }
}

// --- what a detection leaves behind ------------------------------------------------------------

TEST_F(EngineCallback, CleanFilesAreCountedUntilADetection) {
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(Reply(1002), 2005);
        EXPECT_EQ(g_iCleanFileSeqCnt, i);
    }
    EXPECT_EQ(Reply(1007), 2003);
    EXPECT_EQ(g_iCleanFileSeqCnt, -1);
    Reply(1002);
    EXPECT_EQ(g_iCleanFileSeqCnt, -1);
}

TEST_F(EngineCallback, DetectionsRecordTheirKind) {
    tagZQFILEINFO info = Message(1001);
    info.detectionClass = 0x1234;
    info.detectionSubClass = 0x5678;
    Reply(info);
    Reply(info);
    EXPECT_EQ(g_iCntLabViruses, 1);
    EXPECT_EQ(g_LabScanData[0].detectionClass, 0x1234);
    EXPECT_EQ(g_LabScanData[0].subClass, 0x5678);
    EXPECT_EQ(Scanner::m_ScanOptns.extraFlags, 0);
}

TEST_F(EngineCallback, DismissedDetectionsLeaveNoTrace) {
    ReportBefore(1001);
    g_iCleanFileSeqCnt = 16;
    g_iCntLabViruses = 0;
    SetAnswers(kActionPrompt, 0, 0);
    tagZQFILEINFO weak = Message(1007);
    weak.detectionClass = 6;
    weak.detectionSubClass = 44;
    for (const tagZQFILEINFO& info : {weak, Message(1007, kFile, "Unknown Macro"),
                                      Message(1007, "/a/LETTER.wiz", "W97M.Melissa.A")}) {
        EXPECT_EQ(Reply(info), 2000);
        EXPECT_EQ(g_iCleanFileSeqCnt, 16);
        EXPECT_EQ(g_iCntLabViruses, 0);
    }
    EXPECT_THAT(m_dialog.Types(), IsEmpty());
    // The last detection reported still is the 1001.
    SetAnswers(kActionRepairOrDelete, 0, 0);
    EXPECT_EQ(Reply(3002), 2002);
}

TEST_F(EngineCallback, TheLabScanFlagOfTheEnginesOptionsReportsMacros) {
    const tagZQFILEINFO info = Message(1001, kFile, "Unknown Macro");
    EXPECT_EQ(Reply(info), 2000);
    Scanner::m_ScanOptns.extraFlags = 0x8000;
    EXPECT_EQ(Reply(info), 2003);
    EXPECT_THAT(m_dialog.Types(), ElementsAre(1102));
}

// --- asking ------------------------------------------------------------------------------------

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
    WakePrompt();
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
                WakePrompt();
            };
            EXPECT_EQ(Reply(code), 2004) << code;
            g_myScnopts = {};
        }
    }
}

TEST_F(EngineCallback, ApplyToAllAsksOnlyOnce) {
    SetAnswers(kActionPrompt, 0, 0);
    m_dialog.m_onPrompt = [] {
        g_myScnopts = {3, 1};
        WakePrompt();
    };
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(Reply(1001), 2003);
    }
    EXPECT_THAT(m_dialog.Types(), ElementsAre(1102, 1103, 1102, 1102, 1102, 1102));
}

TEST_F(EngineCallback, WithoutApplyToAllEveryDetectionIsAskedAbout) {
    SetAnswers(kActionPrompt, 0, 0);
    std::uint16_t choice = 0;
    m_dialog.m_onPrompt = [&choice] {
        g_myScnopts = {choice++, 0};
        WakePrompt();
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

}  // namespace
