#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sys/stat.h>

#include "tests/support/disk_model.h"
#include "tests/support/traced_program.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

// What a power cut leaves of an installation, at each of its calls: the calls of a real one are
// recorded and made again in a model of a disk that keeps nothing but what was synced.

namespace fs = std::filesystem;

namespace {

using definitions::Outcome;

constexpr std::size_t kMostTried = 30;

class PowerCut : public DefinitionsTest {
protected:
    void SetUp() override {
        if (!CanTrace()) {
            GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
        }
        // A mode that is set and not synced is then another one after the cut.
        m_umask = ::umask(0077);
    }
    void TearDown() override { ::umask(m_umask); }

    // A set as a program finds it through `link`: what lies in its folder. None without.
    static std::optional<Tree> SetBehind(const Tree& tree, const std::string& link) {
        const auto found = tree.find(link);
        if (found == tree.end() || found->second.kind != 'l') {
            return std::nullopt;
        }
        const std::string folder = found->second.content;
        Tree set;
        for (const auto& [path, entry] : tree) {
            if (path == folder) {
                set["."] = entry;
            } else if (path.starts_with(folder + "/")) {
                set[path.substr(folder.size() + 1)] = entry;
            }
        }
        return set;
    }
    static std::optional<Tree> SetInUse(const Tree& tree) { return SetBehind(tree, "current"); }

    // Records an installation of the candidate, or the action, from the state that is there.
    void Record(const std::string& action) {
        m_before = ReadTree(m_defs);
        const std::string path = m_scratch / "recording";
        ASSERT_EQ(RunTraced(RecordingOptions(path), {INSTALL_ONCE, m_product, action}),
                  static_cast<int>(Outcome::kInstalled));
        const auto calls = ReadRecording(path);
        ASSERT_TRUE(calls) << "the recording is not understood";
        m_calls = *calls;
        m_after = ReadTree(m_defs);
        m_old = SetInUse(m_before);
        m_new = SetInUse(m_after);
        WriteTree(m_defs, m_before);
        m_cuts = CutPowerDuring(m_defs, m_calls);
        ASSERT_EQ(m_cuts.end, m_after) << "the model does not do what the disk does";
        ASSERT_TRUE(m_new);
    }

    [[nodiscard]] bool IsOldOrNew(const Tree& tree) const {
        const auto set = SetInUse(tree);
        return set == m_old || set == m_new;
    }
    [[nodiscard]] bool IsNew(const Tree& tree) const { return SetInUse(tree) == m_new; }

    // Of all states that the cuts leave, and of those that are left once it was said to be done.
    [[nodiscard]] bool IsSafe(const PowerCuts& cuts) const {
        const auto isGood = [this](const Tree& tree) { return IsGood(tree); };
        const auto isNew = [this](const Tree& tree) { return IsNew(tree); };
        return std::all_of(cuts.anywhere.begin(), cuts.anywhere.end(), isGood) &&
               std::all_of(cuts.atTheEnd.begin(), cuts.atTheEnd.end(), isNew);
    }
    [[nodiscard]] virtual bool IsGood(const Tree& tree) const { return IsOldOrNew(tree); }

    void ExpectSafe() const {
        std::size_t switched = 0;
        for (const Tree& tree : m_cuts.anywhere) {
            ASSERT_TRUE(IsGood(tree)) << Listing(tree);
            switched += IsNew(tree) ? 1 : 0;
        }
        EXPECT_GT(switched, 0U);
        EXPECT_LT(switched, m_cuts.anywhere.size());
        for (const Tree& tree : m_cuts.atTheEnd) {
            EXPECT_TRUE(IsNew(tree)) << "lost after it was said to be installed" << Listing(tree);
        }
        std::cout << m_cuts.anywhere.size() << " states, " << switched
                  << " of them with the new set in use\n";
    }

    // Without any one of the syncs something is lost: all are needed, and the model shows it.
    void ExpectEverySyncIsNeeded(std::size_t expected) const {
        EXPECT_EQ(m_cuts.syncs.size(), expected);
        for (const std::size_t sync : m_cuts.syncs) {
            EXPECT_FALSE(IsSafe(CutPowerDuring(m_defs, m_calls, sync)))
                << "sync number " << sync << " could be left out";
        }
    }

    // Another run, on the disk itself, from states that a cut leaves.
    void ExpectAnotherRunToDo() {
        for (const std::size_t i : Spread(m_cuts.anywhere.size(), kMostTried, "states tried")) {
            const Tree& tree = m_cuts.anywhere[i];
            SCOPED_TRACE(Listing(tree));
            WriteTree(m_defs, tree);
            if (SetInUse(tree)) {
                ExpectWhole();
            }
            ASSERT_TRUE(IsDone(InChild([this] { return RunAgain(); })));
            const Tree found = ReadTree(m_defs);
            ExpectNewDatabases(found);
            ExpectWhole();
            EXPECT_FALSE(Exists(m_defs + "unfinished"));
            EXPECT_FALSE(Exists(m_defs + "current.new"));
            EXPECT_FALSE(Exists(m_defs + "held-back-2.new"));
            EXPECT_LE(Names().size(), 3U) << testing::PrintToString(Names());
        }
        WriteTree(m_defs, m_before);
    }

    void ExpectNewDatabases(const Tree& tree) const {
        auto set = SetInUse(tree);
        ASSERT_TRUE(set);
        EXPECT_EQ(*set, *m_new);
    }

    static bool IsDone(int outcome) {
        return outcome == static_cast<int>(Outcome::kInstalled) ||
               outcome == static_cast<int>(Outcome::kUpToDate);
    }

    int RunAgain() const {
        Listener listener;
        return static_cast<int>(
            definitions::Install({m_candidate}, {m_product, {}, {}}, listener).outcome);
    }

    mode_t m_umask = 0;
    std::vector<RecordedCall> m_calls;
    Tree m_before;
    Tree m_after;
    std::optional<Tree> m_old;
    std::optional<Tree> m_new;
    PowerCuts m_cuts;
};

// Longer than a block of the disk.
std::string Long(char letter) {
    std::string lines;
    while (lines.size() < 9000) {
        lines += OwnSignature(letter);
    }
    return lines;
}

TEST_F(PowerCut, OfAFirstInstallationLeavesNoneOrAllOfIt) {
    PutIndexed(8, {{"a.ndb", Long('A'), 1}, {"b.ndb", OwnSignature('C'), 2}});
    ASSERT_NO_FATAL_FAILURE(Record(m_candidate));
    ASSERT_FALSE(m_old);
    ExpectSafe();
    // Two databases, index, its signature, version; the folder of the set; its name; the link.
    ExpectEverySyncIsNeeded(8);
    ExpectAnotherRunToDo();
}

TEST_F(PowerCut, LeavesTheOldOrTheNewSet) {
    ASSERT_EQ(InstallSerial(7, {{"a.ndb", Long('A'), 1}, {"b.ndb", OwnSignature('B'), 1}}),
              Outcome::kInstalled);
    PutIndexed(8, {{"a.ndb", Long('A'), 1}, {"b.ndb", OwnSignature('C'), 2}});
    ASSERT_NO_FATAL_FAILURE(Record(m_candidate));
    ExpectSafe();
    // One database less: it is the old one's.
    ExpectEverySyncIsNeeded(7);
    ExpectAnotherRunToDo();
}

TEST_F(PowerCut, WhileTheSetBeforeTheLastIsRemovedLeavesTheOldOrTheNewSet) {
    for (const std::uint32_t serial : {6U, 7U}) {
        ASSERT_EQ(InstallSerial(serial, {{"b.ndb", OwnSignature('A'), serial}}),
                  Outcome::kInstalled);
    }
    PutIndexed(8, {{"b.ndb", OwnSignature('C'), 8}});
    ASSERT_NO_FATAL_FAILURE(Record(m_candidate));
    EXPECT_TRUE(m_before.contains("set-1/b.ndb"));
    EXPECT_FALSE(m_after.contains("set-1"));
    ExpectSafe();
    ExpectAnotherRunToDo();
}

TEST_F(PowerCut, AfterAKilledRunTheNextOneLeavesTheOldOrTheNewSet) {
    ASSERT_EQ(InstallSerial(7, {{"b.ndb", OwnSignature('B'), 1}}), Outcome::kInstalled);
    // Halves of all kinds: what a run begins with is the removal of them.
    fs::create_directory(m_defs + "unfinished");
    WriteFile(m_defs + "unfinished/b.ndb", "half");
    fs::create_symlink("set-2", m_defs + "current.new");
    fs::create_directory(m_defs + "set-2");
    WriteFile(m_defs + "set-2/b.ndb", OwnSignature('X'));
    PutIndexed(8, {{"b.ndb", OwnSignature('C'), 2}});
    ASSERT_NO_FATAL_FAILURE(Record(m_candidate));
    ExpectSafe();
    ExpectAnotherRunToDo();
}

TEST_F(PowerCut, OfDatabasesWithSignaturesOfTheirOwnLeavesTheOldOrTheNewSet) {
    NEED_SIGNED_DATABASES();
    ASSERT_EQ(InstallSerial(7, {{"b.ndb", OwnSignature('B'), 1}}), Outcome::kInstalled);
    PutFiles({});
    fs::copy_file(SignedDatabases() + "test-6.cvd", m_candidate + "test.cvd");
    ASSERT_NO_FATAL_FAILURE(Record(m_candidate));
    ExpectSafe();
    // The database, the version; folder, name, link.
    ExpectEverySyncIsNeeded(5);
    ExpectAnotherRunToDo();
}

class PowerCutOfAWayBack : public PowerCut {
protected:
    // Back, it stays back: what was gone back from is noted before the switch.
    [[nodiscard]] bool IsGood(const Tree& tree) const override {
        return IsOldOrNew(tree) && (!IsNew(tree) || SetBehind(tree, "held-back-2") == m_old);
    }
};

TEST_F(PowerCutOfAWayBack, LeavesOneOfTheTwoAndTheSetHeldBack) {
    ASSERT_EQ(InstallSerial(7, {{"b.ndb", OwnSignature('B'), 1}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(8, {{"b.ndb", OwnSignature('C'), 2}}), Outcome::kInstalled);
    ASSERT_NO_FATAL_FAILURE(Record("rollback"));
    EXPECT_NE(m_old, m_new);
    ExpectSafe();
    ExpectEverySyncIsNeeded(2);
    for (const Tree& tree : m_cuts.anywhere) {
        SCOPED_TRACE(Listing(tree));
        WriteTree(m_defs, tree);
        ExpectWhole();
        if (!IsNew(tree)) {
            EXPECT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
        }
        const Tree found = ReadTree(m_defs);
        ExpectNewDatabases(found);
        EXPECT_EQ(SetBehind(found, "held-back-2"), m_old);
    }
}

}  // namespace
