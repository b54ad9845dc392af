// What a power cut leaves of a whole update, and of what its downloader keeps.

#include <algorithm>
#include <iostream>

#include "tests/support/traced_program.h"
#include "tests/unit/product/updturl/update_failure_fixture.h"

namespace updturl {
namespace {

constexpr std::size_t kMostTried = 12;

class UpdatePowerCut : public UpdateFailureTest {
protected:
    // Records a program that changes `folder`.
    void Record(const std::vector<std::string>& program, const std::string& folder) {
        Reset();
        ASSERT_EQ(Ask(TracedCommand(RecordingOptions(m_trace), program)).Result(), 1);
        const auto calls = ReadRecording(m_trace);
        ASSERT_TRUE(calls) << "the recording is not understood";
        m_calls = *calls;
        m_after = ReadTree(folder);
        Reset();
        m_before = ReadTree(folder);
        m_cuts = CutPowerDuring(folder, m_calls);
        ASSERT_EQ(m_cuts.end, m_after) << "the model does not do what the disk does";
    }

    // The small file `name` is the old one or the new one, whole.
    [[nodiscard]] bool IsOldOrNew(const Tree& tree, const std::string& name) const {
        const auto found = tree.find(name);
        return found != tree.end() &&
               (found->second == m_before.at(name) || found->second == m_after.at(name));
    }

    Tree m_before;
    Tree m_after;
    std::vector<RecordedCall> m_calls;
    PowerCuts m_cuts;
};

// What the link leads to, with all that is in it.
Tree SetInUse(const Tree& tree) {
    Tree set;
    const auto link = tree.find("current");
    const std::string folder = link == tree.end() ? "none" : link->second.content;
    for (const auto& [path, entry] : tree) {
        if (path.starts_with(folder + "/")) {
            set[path.substr(folder.size())] = entry;
        }
    }
    return set;
}

TEST_F(UpdatePowerCut, LeavesASetAndARecordThatSaysNoMoreThanHappened) {
    ASSERT_NO_FATAL_FAILURE(Record(Whole(), m_defs));
    const Tree oldSet = SetInUse(m_before);
    const Tree newSet = SetInUse(m_after);
    ASSERT_NE(oldSet, newSet);
    const std::string record = "last-update.json";
    const auto isDone = [&](const Tree& tree) {
        return SetInUse(tree) == newSet && tree.contains(record) &&
               tree.at(record) == m_after.at(record);
    };
    const auto isGood = [&](const Tree& tree) {
        const Tree set = SetInUse(tree);
        return IsOldOrNew(tree, record) &&
               (set == newSet || (set == oldSet && tree.at(record) == m_before.at(record)));
    };
    for (const Tree& tree : m_cuts.anywhere) {
        EXPECT_TRUE(isGood(tree)) << tree.at(record).content;
    }
    EXPECT_TRUE(std::all_of(m_cuts.atTheEnd.begin(), m_cuts.atTheEnd.end(), isDone));
    // Of one database, index, signature and version; of the set, its name and the link; of the
    // record and its name.
    EXPECT_EQ(m_cuts.syncs.size(), 9U);
    for (const std::size_t sync : m_cuts.syncs) {
        const PowerCuts without = CutPowerDuring(m_defs, m_calls, sync);
        EXPECT_FALSE(std::all_of(without.anywhere.begin(), without.anywhere.end(), isGood) &&
                     std::all_of(without.atTheEnd.begin(), without.atTheEnd.end(), isDone))
            << "sync number " << sync << " could be left out";
    }
    for (const std::size_t i : Spread(m_cuts.anywhere.size(), kMostTried, "states tried")) {
        WriteTree(m_defs, m_cuts.anywhere[i]);
        ExpectOldOrNew();
        ExpectAnotherRunToDo();
    }
}

TEST_F(UpdatePowerCut, OfADownloaderLeavesWhatTheNextOneCanStartFrom) {
    ASSERT_NO_FATAL_FAILURE(Record(Download(), m_download));
    const auto isGood = [&](const Tree& tree) { return IsOldOrNew(tree, "state.json"); };
    for (const Tree& tree : m_cuts.anywhere) {
        EXPECT_TRUE(isGood(tree));
    }
    // What is downloaded is not synced: it is looked at before it is used.
    ASSERT_EQ(m_cuts.syncs.size(), 1U);
    const PowerCuts without = CutPowerDuring(m_download, m_calls, m_cuts.syncs[0]);
    EXPECT_FALSE(std::all_of(without.anywhere.begin(), without.anywhere.end(), isGood));
    for (const std::size_t i : Spread(m_cuts.anywhere.size(), kMostTried, "states tried")) {
        Reset();
        WriteTree(m_download, m_cuts.anywhere[i]);
        ExpectAnotherRunToDo();
    }
}

}  // namespace
}  // namespace updturl
