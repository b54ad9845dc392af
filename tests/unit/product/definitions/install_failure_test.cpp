#include <fstream>
#include <gmock/gmock.h>
#include <iostream>
#include <set>

#include "tests/support/traced_program.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

// An installation that is killed or refused each of its system calls that change something, by
// strace.

namespace fs = std::filesystem;

namespace {

using definitions::Outcome;
using testing::ElementsAre;

class InstallFailure : public DefinitionsTest {
protected:
    void SetUp() override {
        if (!CanTrace()) {
            GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
        }
    }

    [[nodiscard]] std::vector<std::string> Program() const {
        return {INSTALL_ONCE, m_product, m_action};
    }

    int Inject(const SystemCall& call, const std::string& what) const {
        return RunInjected(call, what, Program());
    }

    // The calls of the installation itself, without those of its children, that change something.
    std::vector<SystemCall> Calls(const IsCallWanted& isWanted = ChangesFiles) {
        Reset();
        const std::string path = m_scratch / "trace";
        EXPECT_EQ(RunTraced({"-o", path}, Program()), static_cast<int>(Outcome::kInstalled));
        return MarkedCallsIn(path, isWanted);
    }

    // The state from which each installation starts.
    void KeepAsStart() const {
        fs::remove_all(m_scratch / "start");
        fs::copy(m_defs, m_scratch / "start",
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
    void Reset() const {
        fs::remove_all(m_defs);
        fs::copy(m_scratch / "start", m_defs,
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }

    // What a run that did not come to its end must leave: the old set or the new one, whole; and
    // another run ends with the new one and nothing beside it and the one before.
    void ExpectOldOrNewAndAnotherRunToDo() {
        const std::string found = CurrentFile("b.ndb");
        if (m_hasOld) {
            EXPECT_TRUE(found == m_old || found == m_new) << found;
            ExpectWhole();
        } else if (Exists(m_defs + "current")) {
            EXPECT_EQ(found, m_new);
            ExpectWhole();
        }
        (found == m_new ? m_switched : m_notSwitched)++;
        const auto again = InChild([&] { return RunAgain(); });
        EXPECT_TRUE(again == static_cast<int>(Outcome::kInstalled) ||
                    again == static_cast<int>(Outcome::kUpToDate))
            << again;
        EXPECT_EQ(CurrentFile("b.ndb"), m_new);
        ExpectWhole();
        // A first set that was finished and never used is kept as the one before.
        EXPECT_LE(Names().size(), 3U) << testing::PrintToString(Names());
        EXPECT_FALSE(Exists(m_defs + "unfinished"));
    }

    int RunAgain() const {
        Listener listener;
        return static_cast<int>(
            definitions::Install({m_candidate}, {m_product, {}, {}}, listener).outcome);
    }

    // From a set 7 to a set 8: one file stays, one changes.
    void PrepareSecond() {
        ASSERT_EQ(InstallSerial(7, {{"a.ndb", OwnSignature('A'), 1}, {"b.ndb", m_old, 1}}),
                  Outcome::kInstalled);
        KeepAsStart();
        PutIndexed(8, {{"a.ndb", OwnSignature('A'), 1}, {"b.ndb", m_new, 2}});
        m_hasOld = true;
    }

    void ExpectSurvivesKills() {
        const std::vector<SystemCall> calls = Calls();
        ASSERT_GT(calls.size(), 20U);
        for (const SystemCall& call : calls) {
            SCOPED_TRACE(call.Injecting("KILL"));
            Reset();
            EXPECT_EQ(Inject(call, "signal=KILL"), -1) << "nobody was killed";
            ExpectOldOrNewAndAnotherRunToDo();
        }
        std::cout << "killed at " << calls.size() << " calls; " << m_switched
                  << " times the new set was in use\n";
        EXPECT_GT(m_switched, 0);
        EXPECT_GT(m_notSwitched, 15);
    }

    std::string m_action = m_candidate;
    std::string m_old = OwnSignature('B');
    std::string m_new = OwnSignature('C');
    bool m_hasOld = false;
    int m_switched = 0;
    int m_notSwitched = 0;
};

TEST_F(InstallFailure, KilledAtAnyCallTheFirstSetIsMissingOrWhole) {
    KeepAsStart();
    PutIndexed(8, {{"a.ndb", OwnSignature('A'), 1}, {"b.ndb", m_new, 2}});
    ExpectSurvivesKills();
}

TEST_F(InstallFailure, KilledAtAnyCallTheOldOrTheNewSetIsInUse) {
    PrepareSecond();
    ExpectSurvivesKills();
}

TEST_F(InstallFailure, RefusedAnyCallTheOldOrTheNewSetIsInUse) {
    PrepareSecond();
    const std::vector<SystemCall> calls = Calls();
    int refused = 0;
    for (const SystemCall& call : calls) {
        for (const char* error : {"ENOSPC", "EIO"}) {
            SCOPED_TRACE(call.Injecting(error));
            Reset();
            const int outcome = Inject(call, std::string("error=") + error);
            EXPECT_TRUE(
                outcome == static_cast<int>(Outcome::kFailed) ||
                (outcome == static_cast<int>(Outcome::kInstalled) && CurrentFile("b.ndb") == m_new))
                << outcome;
            ++refused;
            if (call.name != "unlinkat") {
                EXPECT_FALSE(Exists(m_defs + "unfinished")) << "nothing need wait for another run";
            }
            ExpectOldOrNewAndAnotherRunToDo();
        }
    }
    std::cout << "refused " << refused << " times; " << m_switched
              << " times the new set was in use\n";
    EXPECT_GT(m_notSwitched, 20);
}

TEST_F(InstallFailure, ASignalAtAnyCallKeepsNothingFromBeingDone) {
    PrepareSecond();
    for (const SystemCall& call : Calls()) {
        SCOPED_TRACE(call.Injecting("EINTR"));
        Reset();
        EXPECT_EQ(Inject(call, "error=EINTR"), static_cast<int>(Outcome::kInstalled));
        ExpectOldOrNewAndAnotherRunToDo();
    }
    EXPECT_EQ(m_notSwitched, 0);
}

TEST_F(InstallFailure, WithoutAChildNothingIsInstalled) {
    PrepareSecond();
    Reset();
    EXPECT_EQ(RunTraced({"-o", "/dev/null", "-e", "inject=clone:error=EAGAIN"}, Program()),
              static_cast<int>(Outcome::kFailed));
    EXPECT_EQ(CurrentFile("b.ndb"), m_old);
    EXPECT_THAT(Names(), ElementsAre("current", "set-1"));
}

// A child that only watches is done without; one that tries the databases is not.
TEST_F(InstallFailure, WithoutAPipeToAChildTheOldOrTheNewSetIsInUse) {
    PrepareSecond();
    std::set<int> outcomes;
    for (const SystemCall& call :
         Calls([](std::string_view name, std::string_view /*line*/) { return name == "pipe2"; })) {
        SCOPED_TRACE(call.Injecting("EMFILE"));
        Reset();
        const int outcome = Inject(call, "error=EMFILE");
        const bool isInstalled = outcome == static_cast<int>(Outcome::kInstalled);
        EXPECT_EQ(CurrentFile("b.ndb"), isInstalled ? m_new : m_old);
        EXPECT_FALSE(Exists(m_defs + "unfinished"));
        outcomes.insert(outcome);
    }
    EXPECT_THAT(outcomes, ElementsAre(static_cast<int>(Outcome::kInstalled),
                                      static_cast<int>(Outcome::kFailed)));
}

TEST_F(InstallFailure, EverythingIsOnTheDiskBeforeTheSwitchAndTheSwitchAfterIt) {
    PrepareSecond();
    Reset();
    const std::string path = m_scratch / "trace";
    ASSERT_EQ(
        RunTraced({"-y", "-o", path, "-e", "trace=openat,fsync,renameat,renameat2"}, Program()),
        static_cast<int>(Outcome::kInstalled));
    std::string order;
    std::ifstream trace(path);
    const auto has = [](const std::string& line, const char* text) {
        return line.find(text) != std::string::npos;
    };
    for (std::string line; std::getline(trace, line);) {
        const bool isFile = has(line, "unfinished/");
        if (line.starts_with("openat(") && has(line, "O_CREAT") && !has(line, "\"lock\"")) {
            order += "c";
        } else if (line.starts_with("fsync(")) {
            order += isFile ? "f" : has(line, "defs/unfinished>") ? "s" : "d";
        } else if (line.starts_with("renameat")) {
            order += has(line, "\"current\"") ? "C" : "N";
        }
    }
    // Three files and the version record, the folder of the set, its name, the link.
    EXPECT_EQ(order, "cfcfcfcfsNdCd");
}

TEST_F(InstallFailure, KilledAtAnyCallOfAWayBackOneOfTheTwoIsInUse) {
    ASSERT_EQ(InstallSerial(7, {{"b.ndb", m_new, 1}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(8, {{"b.ndb", m_old, 2}}), Outcome::kInstalled);
    KeepAsStart();
    m_action = "rollback";
    const std::vector<SystemCall> calls = Calls();
    ASSERT_GE(calls.size(), 7U);
    for (const SystemCall& call : calls) {
        SCOPED_TRACE(call.Injecting("KILL"));
        Reset();
        EXPECT_EQ(Inject(call, "signal=KILL"), -1) << "nobody was killed";
        const std::string found = CurrentFile("b.ndb");
        EXPECT_TRUE(found == m_old || found == m_new);
        ExpectWhole();
        if (found == m_old) {
            EXPECT_EQ(
                InChild([&] { return static_cast<int>(definitions::RollBack(m_product).outcome); }),
                static_cast<int>(Outcome::kInstalled));
        }
        EXPECT_EQ(CurrentFile("b.ndb"), m_new);
        EXPECT_EQ(fs::read_symlink(m_defs + "held-back-2"), "set-2");
    }
}

class InstallFullDisk : public DefinitionsTest {};

TEST_F(InstallFullDisk, KeepsTheOldSetAndTellsOfTheDisk) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    fs::rename(m_defs, m_scratch / "kept");
    fs::create_directory(m_defs);
    const TinyDisk disk(m_defs, "256k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no right to mount a disk to fill";
    }
    fs::copy(m_scratch / "kept", m_defs,
             fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    std::string large;
    while (large.size() < 400000) {
        large += OwnSignature('B');
    }
    PutIndexed(8, {{"own.ndb", large, 2}});
    const auto result = Install();
    EXPECT_EQ(result.outcome, Outcome::kFailed);
    EXPECT_EQ(result.why, "own.ndb cannot be written: there is no room left on the disk");
    EXPECT_THAT(Names(), ElementsAre("current", "set-1"));
    ExpectWhole();
    EXPECT_EQ(InstallSerial(9, {{"own.ndb", OwnSignature('C'), 2}}), Outcome::kInstalled);
}

}  // namespace
