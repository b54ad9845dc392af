#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/run_state.h"
#include "scan/engine_callback.h"
#include "scan/run/detection_filters.h"
#include "scan/scanner.h"
#include "tests/support/failing_new.h"
#include "tests/unit/scan/recording_dialog.h"

namespace {

using ::testing::IsEmpty;

int ReplyWithoutMemory(RecordingDialog& dialog, int code) {
    tagZQFILEINFO info{};
    info.code = static_cast<std::int16_t>(code);
    const int reply = dialog.OnScanThread([&] {
        SetOutOfMemory(true);
        const int answer = ZqCallBack(&info, dialog.Context());
        SetOutOfMemory(false);
        return answer;
    });
    return reply;
}

TEST(EngineCallbackMemory, AFileWhoseDetectionCannotBeShownIsLeftAlone) {
    RecordingDialog dialog;
    g_iCleanFileSeqCnt = 0;
    g_myScnopts = {};
    for (std::uint16_t action = 0; action <= 4; ++action) {
        g_scnopts.action = action;
        EXPECT_EQ(ReplyWithoutMemory(dialog, 1001), 2003) << action;
        EXPECT_EQ(ReplyWithoutMemory(dialog, 1007), 2003) << action;
    }
    EXPECT_THAT(dialog.Types(), IsEmpty());
}

TEST(EngineCallbackMemory, OtherMessagesLetTheEngineGoOn) {
    RecordingDialog dialog;
    common::ResetRunCounters();
    g_scnopts.action = kActionDelete;
    for (const int code : {1002, 1003, 1004, 1005, 3001, 3002, 3003, 3004, 3006, 4711}) {
        EXPECT_EQ(ReplyWithoutMemory(dialog, code), 2005) << code;
    }
    EXPECT_EQ(g_uiSkipCnt, 0U);
    EXPECT_THAT(dialog.Types(), IsEmpty());
}

TEST(EngineCallbackMemory, AnEventWithoutMemoryForItsTextIsAnEventStill) {
    SetOutOfMemory(true);
    const ZqEvent event(kEvtScanningFile, "/a/path");
    SetOutOfMemory(false);
    EXPECT_EQ(event.type(), 1100);
    EXPECT_EQ(event.Text(), nullptr);
    EXPECT_EQ(event.Info().fileName[0], '\0');
}

}  // namespace
