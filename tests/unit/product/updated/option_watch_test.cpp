#include "product/updated/option_watch.h"

#include <gtest/gtest.h>
#include <poll.h>

#include "tests/support/scratch.h"

namespace updated {
namespace {

class OptionWatchTest : public testing::Test {
protected:
    void SetMode(mode_t mode) const { ASSERT_EQ(::chmod(m_path.c_str(), mode), 0); }

    /// Looks until nothing happens any more; false when nothing had.
    static bool LookOnce(OptionWatch& watch) {
        pollfd watched{watch.Descriptor(), POLLIN, 0};
        bool hasHappened = false;
        for (int turn = 0; turn < 10 && ::poll(&watched, 1, turn == 0 ? 5000 : 100) == 1; ++turn) {
            EXPECT_LT(turn, 5) << "it wakes itself up";
            hasHappened = true;
            watch.Look();
        }
        return hasHappened;
    }

    ScratchFolder m_folder;
    std::string m_path = m_folder / "zqupdate.opt";
};

TEST_F(OptionWatchTest, OpensTheOptionsToEverybodyFromTheStart) {
    WriteFile(m_path, "options");
    SetMode(0644);
    const OptionWatch watch(m_folder.Path());
    EXPECT_EQ(ModeOf(m_path), 0666U);
}

TEST_F(OptionWatchTest, OpensThemAgainAfterAnUpdateOfRoot) {
    WriteFile(m_path, "options");
    OptionWatch watch(m_folder.Path());
    SetMode(0644);
    EXPECT_TRUE(LookOnce(watch));
    EXPECT_EQ(ModeOf(m_path), 0666U);
    EXPECT_EQ(ReadFile(m_path), "options");
}

TEST_F(OptionWatchTest, OpensThemWhenTheyArePutThere) {
    OptionWatch watch(m_folder.Path());
    WriteFile(m_folder / "new", "options");
    ASSERT_EQ(::chmod((m_folder / "new").c_str(), 0644), 0);
    EXPECT_TRUE(LookOnce(watch));
    std::filesystem::rename(m_folder / "new", m_path);
    EXPECT_TRUE(LookOnce(watch));
    EXPECT_EQ(ModeOf(m_path), 0666U);
}

TEST_F(OptionWatchTest, LeavesOtherFilesAlone) {
    WriteFile(m_path, "options");
    OptionWatch watch(m_folder.Path());
    WriteFile(m_folder / "other", "");
    ASSERT_EQ(::chmod((m_folder / "other").c_str(), 0600), 0);
    EXPECT_TRUE(LookOnce(watch));
    EXPECT_EQ(ModeOf(m_folder / "other"), 0600U);
}

TEST_F(OptionWatchTest, DoesNotGoThroughALink) {
    WriteFile(m_folder / "victim", "");
    ASSERT_EQ(::chmod((m_folder / "victim").c_str(), 0600), 0);
    std::filesystem::create_symlink(m_folder / "victim", m_path);
    const OptionWatch watch(m_folder.Path());
    EXPECT_EQ(ModeOf(m_folder / "victim"), 0600U);
}

}  // namespace
}  // namespace updated
