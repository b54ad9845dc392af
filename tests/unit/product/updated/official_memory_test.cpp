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

class OfficialMemoryTest : public testing::Test {
protected:
    /// What a service that is started anew still knows.
    [[nodiscard]] std::optional<int> RecallAnew(std::time_t now) const {
        return OfficialMemory(m_state).Recall(now);
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
    EXPECT_EQ(memory.Recall(kNow), std::nullopt);
    memory.Remember(kNow, 2);
    for (const std::time_t later : {0, 1, 899}) {
        EXPECT_EQ(memory.Recall(kNow + later), 2) << later;
        EXPECT_EQ(RecallAnew(kNow + later), 2) << later;
    }
    EXPECT_EQ(memory.Recall(kNow + 900), std::nullopt);
    EXPECT_EQ(RecallAnew(kNow + 900), std::nullopt);
    memory.Remember(kNow + 1000, 0);
    EXPECT_EQ(RecallAnew(kNow + 1000), 0) << "the last time counts";
    EXPECT_EQ(ReadFile(m_file), "asked 1795001000 result 0\n");
    EXPECT_EQ(ModeOf(m_state), 0700U);
    EXPECT_EQ(ModeOf(m_file), 0600U);
}

TEST_F(OfficialMemoryTest, OfAClockThatWasWrongIsNone) {
    Put("asked 1795000001 result 2\n");
    EXPECT_EQ(RecallAnew(kNow), std::nullopt);
    EXPECT_EQ(RecallAnew(kNow + 1), 2);
}

TEST_F(OfficialMemoryTest, ADamagedFileIsNone) {
    for (const char* text :
         {"", "asked", "asked 1795000000", "asked 1795000000 result 2",
          "asked 1795000000 result 5\n", "asked 1795000000 result -1\n", "asked x result 2\n",
          "asked 1795000000 result 2\n\n", "asked 179500000000000000000000 result 2\n",
          "ASKED 1795000000 result 2\n", "asked -9223372036854775808 result 2\n"}) {
        Put(text);
        EXPECT_EQ(RecallAnew(kNow), std::nullopt) << text;
    }
    Put("asked 1795000000 result 2\n");
    EXPECT_EQ(RecallAnew(kNow), 2);
}

TEST_F(OfficialMemoryTest, NoLinkIsFollowed) {
    WriteFile(m_scratch / "victim", "asked 1795000000 result 2\n");
    fs::create_directories(m_state);
    fs::create_symlink(m_scratch / "victim", m_file);
    EXPECT_EQ(RecallAnew(kNow), std::nullopt);
    fs::create_symlink(m_scratch / "victim", m_state + "/official-mirrors.new");
    OfficialMemory(m_state).Remember(kNow, 0);
    EXPECT_EQ(RecallAnew(kNow), 0);
    EXPECT_EQ(ReadFile(m_scratch / "victim"), "asked 1795000000 result 2\n");
    fs::create_symlink(m_state, m_scratch / "link");
    EXPECT_EQ(OfficialMemory(m_scratch / "link").Recall(kNow), std::nullopt);
}

TEST_F(OfficialMemoryTest, WithoutItsFolderItLastsAsLongAsTheService) {
    OfficialMemory memory(m_scratch / "missing/state");
    memory.Remember(kNow, 1);
    EXPECT_EQ(memory.Recall(kNow), 1);
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
    EXPECT_EQ(memory.Recall(kNow + 60), 0);
    EXPECT_EQ(OfficialMemory(m_scratch / "disk").Recall(kNow + 60), 2);
}

}  // namespace
}  // namespace updated
