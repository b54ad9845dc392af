#include <algorithm>
#include <filesystem>
#include <iostream>
#include <sys/stat.h>

#include "product/definitions/backup.h"
#include "product/definitions/definition_folder.h"
#include "tests/support/disk_model.h"
#include "tests/support/traced_program.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

// What a power cut leaves of the copies of the update files, while another is made and the oldest
// goes.

namespace fs = std::filesystem;

namespace {

using definitions::Outcome;

// Of all of them: then each has the name in its way that another goes under.
constexpr std::time_t kNow = 1795233353;  // 2026-11-21 03:55:53 UTC

class PowerCutOfABackup : public DefinitionsTest {
protected:
    void SetUp() override {
        // A mode that is set and not synced is then another one after the cut.
        m_umask = ::umask(0077);
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "needs a root of its own to make trusted folders in";
        }
        if (!CanTrace()) {
            GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
        }
        fs::create_directories(m_folder);
        fs::permissions(m_folder, fs::perms(0755));
    }
    void TearDown() override {
        ::umask(m_umask);
        fs::remove_all("/backup-test");
    }

    // Each backup by its name, with all that is in it; what is not finished is none.
    static std::map<std::string, Tree> BackupsIn(const Tree& tree) {
        std::map<std::string, Tree> backups;
        for (const auto& [path, entry] : tree) {
            const std::string name = path.substr(0, path.find('/'));
            if (!name.ends_with(".unfinished")) {
                backups[name][path.substr(std::min(path.size(), name.size() + 1))] = entry;
            }
        }
        return backups;
    }

    void MakeBackups(std::size_t count) {
        ASSERT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_EQ(MakeBackup(), "");
        }
    }
    [[nodiscard]] std::string MakeBackup() const {
        const auto set = definitions::DefinitionFolder::Open(m_product).OpenSet(1);
        return definitions::BackUp(set.Get(), m_folder, kNow, [] { return true; });
    }

    // Records a backup of the set in use. By itself, for an installation makes it in another
    // thread.
    void Record() {
        m_before = ReadTree(m_folder);
        const std::string path = m_scratch / "recording";
        ASSERT_EQ(RunTraced(RecordingOptions(path),
                            {INSTALL_ONCE, m_product, "backup", m_folder, std::to_string(kNow)}),
                  static_cast<int>(Outcome::kInstalled));
        const auto calls = ReadRecording(path);
        ASSERT_TRUE(calls) << "the recording is not understood";
        m_calls = *calls;
        m_after = ReadTree(m_folder);
        WriteTree(m_folder, m_before);
        m_cuts = CutPowerDuring(m_folder, m_calls);
        ASSERT_EQ(Listing(m_cuts.end), Listing(m_after));
        ASSERT_EQ(m_cuts.end, m_after) << "the model does not do what the disk does";
    }

    // What is not finished and holds files is still known as ours, and goes at the next backup.
    static bool CanBeRemoved(const Tree& tree) {
        return std::all_of(tree.begin(), tree.end(), [&](const auto& entry) {
            const std::string name = entry.first.substr(0, entry.first.find('/'));
            return name == entry.first || !name.ends_with(".unfinished") ||
                   tree.contains(name + "/.corvane-backup");
        });
    }

    // Whatever passes for a backup is whole.
    [[nodiscard]] bool IsGood(const Tree& tree) const {
        const auto before = BackupsIn(m_before);
        const auto after = BackupsIn(m_after);
        const auto backups = BackupsIn(tree);
        return CanBeRemoved(tree) &&
               std::all_of(backups.begin(), backups.end(), [&](const auto& backup) {
                   const auto& known = before.contains(backup.first) ? before : after;
                   return known.contains(backup.first) && known.at(backup.first) == backup.second;
               });
    }
    [[nodiscard]] bool IsDone(const Tree& tree) const {
        const auto after = BackupsIn(m_after);
        const auto backups = BackupsIn(tree);
        return IsGood(tree) && std::all_of(after.begin(), after.end(), [&](const auto& backup) {
                   return backups.contains(backup.first);
               });
    }
    [[nodiscard]] bool IsSafe(const PowerCuts& cuts) const {
        return std::all_of(cuts.anywhere.begin(), cuts.anywhere.end(),
                           [this](const Tree& tree) { return IsGood(tree); }) &&
               std::all_of(cuts.atTheEnd.begin(), cuts.atTheEnd.end(),
                           [this](const Tree& tree) { return IsDone(tree); });
    }

    void ExpectSafe() const {
        for (const Tree& tree : m_cuts.anywhere) {
            ASSERT_TRUE(IsGood(tree)) << Listing(tree);
        }
        for (const Tree& tree : m_cuts.atTheEnd) {
            ASSERT_TRUE(IsDone(tree)) << Listing(tree);
        }
        std::cout << m_cuts.anywhere.size() << " states\n";
    }

    mode_t m_umask = 0;
    std::string m_folder = "/backup-test/of/corvane";
    Tree m_before;
    Tree m_after;
    std::vector<RecordedCall> m_calls;
    PowerCuts m_cuts;
};

TEST_F(PowerCutOfABackup, LeavesWhatWasThereAndAllOrNothingOfTheNewOne) {
    MakeBackups(1);
    ASSERT_NO_FATAL_FAILURE(Record());
    ExpectSafe();
    // The marker and its name; database, index, signature and version, and their names; the
    // backup's own.
    EXPECT_EQ(m_cuts.syncs.size(), 8U);
    for (const std::size_t sync : m_cuts.syncs) {
        EXPECT_FALSE(IsSafe(CutPowerDuring(m_folder, m_calls, sync)))
            << "sync number " << sync << " could be left out";
    }
}

TEST_F(PowerCutOfABackup, LeavesTheOldestWholeOrUnderNoNameOfABackup) {
    MakeBackups(definitions::kBackupsKept);
    ASSERT_NO_FATAL_FAILURE(Record());
    ASSERT_EQ(BackupsIn(m_before).size(), definitions::kBackupsKept);
    ASSERT_EQ(BackupsIn(m_after).size(), definitions::kBackupsKept);
    ExpectSafe();
    // Those two of the removal come last: of the name it has while it goes, and of all but the
    // marker.
    ASSERT_EQ(m_cuts.syncs.size(), 10U);
    EXPECT_FALSE(IsSafe(CutPowerDuring(m_folder, m_calls, m_cuts.syncs[8])))
        << "the oldest could go before its name has";
    EXPECT_FALSE(IsSafe(CutPowerDuring(m_folder, m_calls, m_cuts.syncs[9])))
        << "the marker could go before the files have";
    // Another one is made and leaves no more than it should.
    for (const std::size_t i : Spread(m_cuts.anywhere.size(), 10, "states tried")) {
        WriteTree(m_folder, m_cuts.anywhere[i]);
        SCOPED_TRACE(Listing(m_cuts.anywhere[i]));
        EXPECT_EQ(MakeBackup(), "");
        EXPECT_EQ(BackupsIn(ReadTree(m_folder)).size(), definitions::kBackupsKept);
    }
}

}  // namespace
