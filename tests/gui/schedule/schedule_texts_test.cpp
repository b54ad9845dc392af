// The lines about the next and the last run.

#include "schedule/schedule_texts.h"

#include <gtest/gtest.h>

#include "common/text_field.h"

namespace {

tagSCHEDULE_TASK_STATE Ran(ScheduleResult result, ScheduleReason reason = kScheduleReasonDue) {
    tagSCHEDULE_TASK_STATE state{};
    state.flags = kScheduleServiceRuns;
    state.lastStart = 1795521600;  // 2026-11-24 12:00 UTC
    state.lastEnd = 1795521660;
    state.lastResult = result;
    state.lastReason = reason;
    return state;
}

constexpr char kWhen[] = "Last run: Tuesday, 24 November 2026, 12:00";

TEST(ScheduleTexts, NextRun) {
    tagSCHEDULE_TASK_STATE state{};
    EXPECT_EQ(ScheduleTexts::NextRun(state, false),
              "Next run: not before the service of the scheduler runs");
    state.flags = kScheduleServiceRuns;
    EXPECT_EQ(ScheduleTexts::NextRun(state, false), "Next run: not known");
    EXPECT_EQ(ScheduleTexts::NextRun(state, true),
              "Next run: when the computer is first started on a due day");
    state.nextRun = 1795608000;
    EXPECT_EQ(ScheduleTexts::NextRun(state, true), "Next run: Wednesday, 25 November 2026, 12:00");
    state.flags |= kScheduleTaskWaits;
    EXPECT_EQ(ScheduleTexts::NextRun(state, false), "Next run: as soon as its turn comes");
}

TEST(ScheduleTexts, EveryResultOfTheLastRun) {
    EXPECT_EQ(ScheduleTexts::LastRun(tagSCHEDULE_TASK_STATE{}), "Last run: none yet");
    tagSCHEDULE_TASK_STATE found = Ran(kScheduleRunFound);
    found.infected = 1;
    EXPECT_EQ(ScheduleTexts::LastRun(found), QString(kWhen) + ": 1 infected file");
    found.infected = 12;
    EXPECT_EQ(ScheduleTexts::LastRun(found), QString(kWhen) + ": 12 infected files");
    tagSCHEDULE_TASK_STATE unread = Ran(kScheduleRunUnread);
    unread.unread = 1;
    EXPECT_EQ(ScheduleTexts::LastRun(unread),
              QString(kWhen) + ": nothing found, 1 file could not be read");
    unread.unread = 3;
    EXPECT_EQ(ScheduleTexts::LastRun(unread),
              QString(kWhen) + ": nothing found, 3 files could not be read");
    const std::pair<ScheduleResult, const char*> kResults[] = {
        {kScheduleRunClean, "nothing found"},
        {kScheduleRunNotStarted, "the scanner could not work"},
        {kScheduleRunInterrupted, "interrupted"},
        {kScheduleRunTookTooLong, "ended after 24 hours"},
        {kScheduleRunNoOwner, "not made, for its owner is no longer a user of this computer"},
        {kScheduleRunNoReport, "not made, for no report could be written"},
        {static_cast<ScheduleResult>(99), "result 99"},
    };
    for (const auto& [result, text] : kResults) {
        EXPECT_EQ(ScheduleTexts::LastRun(Ran(result)), QString(kWhen) + ": " + text);
    }
}

TEST(ScheduleTexts, WhyTheLastRunWasMade) {
    const std::pair<ScheduleReason, const char*> kReasons[] = {
        {kScheduleReasonNone, ""},
        {kScheduleReasonDue, ""},
        {kScheduleReasonMissed, " (late, for a time when it could not run)"},
        {kScheduleReasonBoot, " (after the start of the computer)"},
        {kScheduleReasonRepeat, " (a repetition)"},
        {kScheduleReasonAsked, " (on request)"},
    };
    for (const auto& [reason, text] : kReasons) {
        EXPECT_EQ(ScheduleTexts::LastRun(Ran(kScheduleRunClean, reason)),
                  QString(kWhen) + text + ": nothing found");
    }
}

TEST(ScheduleTexts, TheSystemsWordsFollowAndMisleadNobody) {
    tagSCHEDULE_TASK_STATE state = Ran(kScheduleRunNoReport);
    common::CopyToField(state.detail, "No space left\non device");
    EXPECT_EQ(
        ScheduleTexts::LastRun(state),
        QString(kWhen) + ": not made, for no report could be written. No space left\\non device");
}

TEST(ScheduleTexts, ARunThatGoesOn) {
    tagSCHEDULE_TASK_STATE state = Ran(kScheduleNeverRun);
    state.flags |= kScheduleTaskRuns;
    state.lastEnd = 0;
    EXPECT_EQ(ScheduleTexts::LastRun(state), QString(kWhen) + ", going on");
}

}  // namespace
