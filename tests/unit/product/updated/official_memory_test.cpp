#include "product/updated/official_memory.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/scratch.h"

// How long it is known, over restarts, that users have had the official mirrors asked.

namespace fs = std::filesystem;

namespace updated {
namespace {

constexpr std::time_t kNow = 1'795'000'000;

using Answer = std::optional<std::pair<int, bool>>;
constexpr int kUnknown = -1;

/// The result, kUnknown without one, and whether it is that of the time before.
Answer Recall(const OfficialMemory& memory, std::time_t now) {
    const auto known = memory.Recall(now);
    return known ? Answer({known->result.value_or(kUnknown), known->isOfTimeBefore}) : std::nullopt;
}
Answer Result(int result) {
    return Answer({result, false});
}
Answer ResultBefore(int result) {
    return Answer({result, true});
}

class OfficialMemoryTest : public testing::Test {
protected:
    /// What a service that is started anew still knows.
    [[nodiscard]] Answer RecallAnew(std::time_t now) const {
        return Recall(OfficialMemory(m_state), now);
    }

    void Put(const std::string& text) const {
        fs::create_directories(m_state);
        WriteFile(m_file, text);
    }

    ScratchFolder m_scratch;
    std::string m_state = m_scratch / "state";
    std::string m_file = m_scratch / "state/official-mirrors";
};

TEST_F(OfficialMemoryTest, LastsQuarterOfAnHourOverRestarts) {
    OfficialMemory memory(m_state);
    EXPECT_EQ(Recall(memory, kNow), std::nullopt);
    memory.Remember(kNow, 2);
    for (const std::time_t later : {0, 1, 899}) {
        EXPECT_EQ(Recall(memory, kNow + later), Result(2)) << later;
        EXPECT_EQ(RecallAnew(kNow + later), Result(2)) << later;
    }
    EXPECT_EQ(Recall(memory, kNow + 900), std::nullopt);
    EXPECT_EQ(RecallAnew(kNow + 900), std::nullopt);
    memory.Remember(kNow + 1000, 0);
    EXPECT_EQ(RecallAnew(kNow + 1000), Result(0)) << "the last time counts";
    EXPECT_EQ(ReadFile(m_file), "asked 1795001000 result 0\n");
    EXPECT_EQ(ModeOf(m_state), 0700U);
    EXPECT_EQ(ModeOf(m_file), 0600U);
}

TEST_F(OfficialMemoryTest, OfAClockThatWasWrongIsNone) {
    Put("asked 1795000001 result 2\n");
    EXPECT_EQ(RecallAnew(kNow), std::nullopt);
    EXPECT_EQ(RecallAnew(kNow + 1), Result(2));
}

TEST_F(OfficialMemoryTest, ADamagedFileIsNone) {
    for (const char* text :
         {"", "asked", "asked 1795000000", "asked 1795000000 result 2",
          "asked 1795000000 result 5\n", "asked 1795000000 result -1\n", "asked x result 2\n",
          "asked 1795000000 result 2\n\n", "asked 179500000000000000000000 result 2\n",
          "asked 1795000000 before 5\n", "asked 1795000000 before\n", "asked 1795000000 since 2\n",
          "asked 1795000000 before 2 result 2\n", "asked 0\n", "asked 1795000000\n\n", "asked \n",
          "ASKED 1795000000 result 2\n", "asked -9223372036854775808 result 2\n"}) {
        Put(text);
        EXPECT_EQ(RecallAnew(kNow), std::nullopt) << text;
    }
    Put("asked 1795000000 result 2\n");
    EXPECT_EQ(RecallAnew(kNow), Result(2));
}

// As a service that was killed in a run finds it.
TEST_F(OfficialMemoryTest, WhileTheyAreAskedTheResultBeforeIsKeptApart) {
    OfficialMemory memory(m_state);
    memory.Begin(kNow);
    EXPECT_EQ(ReadFile(m_file), "asked 1795000000\n");
    EXPECT_EQ(Recall(memory, kNow), Result(kUnknown));
    EXPECT_EQ(RecallAnew(kNow + 899), Result(kUnknown));
    memory.Begin(kNow + 1000);
    EXPECT_EQ(ReadFile(m_file), "asked 1795001000\n");
    memory.Remember(kNow + 1001, 2);
    EXPECT_EQ(ReadFile(m_file), "asked 1795001001 result 2\n");
    for (const int later : {2000, 3000}) {
        OfficialMemory anew(m_state);
        anew.Begin(kNow + later);
        EXPECT_EQ(ReadFile(m_file), "asked " + std::to_string(kNow + later) + " before 2\n");
        EXPECT_EQ(Recall(anew, kNow + later), ResultBefore(2));
        EXPECT_EQ(RecallAnew(kNow + later), ResultBefore(2));
    }
    EXPECT_EQ(RecallAnew(kNow + 3900), std::nullopt);
    memory.Remember(kNow + 3001, 0);
    EXPECT_EQ(RecallAnew(kNow + 3001), Result(0));
}

TEST_F(OfficialMemoryTest, WhatWasNotAskedAfterAllIsForgotten) {
    OfficialMemory memory(m_state);
    memory.Begin(kNow);
    memory.Withdraw();
    EXPECT_EQ(Recall(memory, kNow), std::nullopt);
    EXPECT_FALSE(Exists(m_file));
    memory.Remember(kNow, 2);
    memory.Begin(kNow + 1000);
    memory.Withdraw();
    EXPECT_EQ(Recall(memory, kNow + 1000), std::nullopt);
    EXPECT_EQ(Recall(memory, kNow), Result(2));
    EXPECT_EQ(ReadFile(m_file), "asked 1795000000 result 2\n");
}

TEST_F(OfficialMemoryTest, NoLinkIsFollowed) {
    WriteFile(m_scratch / "victim", "asked 1795000000 result 2\n");
    fs::create_directories(m_state);
    fs::create_symlink(m_scratch / "victim", m_file);
    EXPECT_EQ(RecallAnew(kNow), std::nullopt);
    fs::create_symlink(m_scratch / "victim", m_state + "/official-mirrors.new");
    OfficialMemory(m_state).Remember(kNow, 0);
    EXPECT_EQ(RecallAnew(kNow), Result(0));
    EXPECT_EQ(ReadFile(m_scratch / "victim"), "asked 1795000000 result 2\n");
    fs::create_symlink(m_state, m_scratch / "link");
    EXPECT_EQ(Recall(OfficialMemory(m_scratch / "link"), kNow), std::nullopt);
}

TEST_F(OfficialMemoryTest, WithoutItsFolderItLastsAsLongAsTheService) {
    OfficialMemory memory(m_scratch / "missing/state");
    memory.Remember(kNow, 1);
    EXPECT_EQ(Recall(memory, kNow), Result(1));
}

// What is there stays until what is new is whole.
TEST_F(OfficialMemoryTest, AFullDiskLeavesTheOldFile) {
    fs::create_directories(m_scratch / "disk");
    const TinyDisk disk(m_scratch / "disk", "8k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "nothing may be mounted here";
    }
    OfficialMemory memory(m_scratch / "disk");
    memory.Remember(kNow, 2);
    WriteFile(m_scratch / "disk/filler", std::string(4096, 'x'));
    memory.Remember(kNow + 60, 0);
    EXPECT_EQ(Recall(memory, kNow + 60), Result(0));
    EXPECT_EQ(Recall(OfficialMemory(m_scratch / "disk"), kNow + 60), Result(2));
}

}  // namespace
}  // namespace updated
