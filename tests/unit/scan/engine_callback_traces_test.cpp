#include <cstdint>
#include <cstring>
#include <gmock/gmock.h>
#include <optional>
#include <string>

#include "scan/run/message_rules.h"
#include "tests/unit/scan/engine_callback_fixture.h"

// What a message leaves behind: events with the engine's bytes, the virus log, counts and kinds.

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
    EXPECT_STREQ(scan::VirusLogText(3001), "File is Repaired");
    EXPECT_STREQ(scan::VirusLogText(3003), "File is Deleted");
    EXPECT_STREQ(scan::VirusLogText(3004), "File is skipped");
    EXPECT_STREQ(scan::VirusLogText(3006), "File is Marked for deletion");
    for (const int code : {0, 1001, 1002, 1003, 1004, 1005, 1007, 3000, 3002, 3005, 3007}) {
        EXPECT_EQ(scan::VirusLogText(static_cast<std::int16_t>(code)), nullptr) << code;
    }
}

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

}  // namespace
