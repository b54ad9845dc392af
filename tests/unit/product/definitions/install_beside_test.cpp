#include <algorithm>
#include <atomic>
#include <chrono>
#include <clamav.h>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <new>
#include <sys/mman.h>
#include <thread>

#include "tests/support/patient_clock.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

// Installing a set beside other databases that the engine loads.

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

bool g_hasEnemy = false;
bool g_hasSour = false;
int g_engines = 0;

// Shared with child processes.
struct Seen {
    std::atomic<int> engines = 0;      // of all processes
    std::atomic<int> mostEngines = 0;  // of one process
    std::atomic<bool> isMoving = false;
};

Seen& TheSeen() {
    static Seen* const seen = new (::mmap(nullptr, sizeof(Seen), PROT_READ | PROT_WRITE,
                                          MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Seen;
    return *seen;
}

}  // namespace

// What a database does to the library goes by its name, whatever it holds.
extern "C" {
cl_error_t __real_cl_load(const char*, cl_engine*, unsigned int*, unsigned int);
cl_error_t __wrap_cl_load(const char*, cl_engine*, unsigned int*, unsigned int);
cl_error_t __real_cl_engine_compile(cl_engine*);
cl_error_t __wrap_cl_engine_compile(cl_engine*);
cl_engine* __real_cl_engine_new();
cl_engine* __wrap_cl_engine_new();
}

cl_engine* __wrap_cl_engine_new() {
    g_hasEnemy = false;
    g_hasSour = false;
    ++g_engines;
    ++TheSeen().engines;
    TheSeen().mostEngines = std::max(TheSeen().mostEngines.load(), g_engines);
    return __real_cl_engine_new();
}

cl_error_t __wrap_cl_load(const char* path, cl_engine* engine, unsigned int* signatures,
                          unsigned int options) {
    const std::string stem = fs::path(path).stem();
    g_hasEnemy = g_hasEnemy || stem == "enemy";
    g_hasSour = g_hasSour || stem == "sour";
    if (stem == "crash" || (stem == "brittle" && g_hasEnemy)) {
        std::abort();
    }
    if (stem == "throw") {
        throw std::bad_alloc();
    }
    if (stem == "sleep") {
        std::this_thread::sleep_for(60s);
    }
    if (stem.starts_with("slow")) {
        std::this_thread::sleep_for(2s);
        return CL_EMALFDB;
    }
    // Gone when it is to be opened, and there again.
    if (stem == "moving" && TheSeen().isMoving.exchange(false)) {
        return CL_EOPEN;
    }
    return stem == "tender" && g_hasEnemy ? CL_EMALFDB
                                          : __real_cl_load(path, engine, signatures, options);
}

cl_error_t __wrap_cl_engine_compile(cl_engine* engine) {
    return g_hasSour ? CL_EARG : __real_cl_engine_compile(engine);
}

namespace {

using definitions::InstallStep;
using definitions::Outcome;
using testing::ElementsAre;

constexpr char kNoSignature[] = "no signature at all\n";

class InstallBeside : public DefinitionsTest {
protected:
    void SetUp() override { ForgetSeen(); }

    static void ForgetSeen() {
        TheSeen().engines = 0;
        TheSeen().mostEngines = 0;
        TheSeen().isMoving = false;
    }

    // Nothing of the candidate is used, and what was in use still is.
    void ExpectRefused(const std::string& why) {
        const auto number = Current();
        const auto result = Install();
        EXPECT_EQ(result.outcome, Outcome::kRefused);
        EXPECT_EQ(result.why, why);
        EXPECT_EQ(Current(), number);
        EXPECT_FALSE(Exists(m_defs + "unfinished"));
    }

    // Beside the package's own databases of these names.
    Outcome InstallBesideThe(const std::vector<std::string>& names, const std::string& content) {
        for (const std::string& name : names) {
            WriteFile(m_defs + name, content);
        }
        return InstallSerial(1, {{"own.ndb", OwnSignature('a'), 1}});
    }
};

// The engine would leave it out, and find less than before.
TEST_F(InstallBeside, ASetThatCannotBeLoadedBesideThePackagesOwnIsRefused) {
    ASSERT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('a'), 1}}), Outcome::kInstalled);
    WriteFile(m_defs + "enemy.ndb", OwnSignature('p'));
    PutIndexed(2, {{"own.ndb", OwnSignature('b'), 2}, {"tender.ndb", OwnSignature('t'), 1}});
    ExpectRefused("tender.ndb cannot be loaded: Malformed database");
    fs::remove(m_defs + "enemy.ndb");
    EXPECT_EQ(Install().outcome, Outcome::kInstalled) << "nothing is wrong with it alone";
}

TEST_F(InstallBeside, ASetThatPushesThePackagesOwnOutIsRefused) {
    ASSERT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('a'), 1}}), Outcome::kInstalled);
    WriteFile(m_defs + "tender.ndb", OwnSignature('p'));
    // What is named so is loaded before others.
    PutIndexed(2, {{"enemy.fp", "44d88612fea8a8f36de82e1278abb02f:68:Fine\n", 1},
                   {"own.ndb", OwnSignature('b'), 2}});
    ExpectRefused(m_defs + "tender.ndb cannot be loaded: Malformed database, together with them");
    // Nor does it matter what else is wrong with the others.
    WriteFile(m_defs + "sour.ndb", OwnSignature('q'));
    ExpectRefused(m_defs + "tender.ndb cannot be loaded: Malformed database, together with them");
    fs::remove(m_defs + "sour.ndb");
    // Without the set it is not loaded either: no fault of the set.
    WriteFile(m_defs + "enemy.ign2", "Other.Test\n");
    EXPECT_EQ(Install().outcome, Outcome::kInstalled);
}

TEST_F(InstallBeside, WhatIsDamagedBesideTheSetKeepsNoSetOut) {
    WriteFile(m_defs + "package.ndb", "no signature at all\n");
    WriteFile(m_defs + "zz.cvd", "no head");
    EXPECT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('a'), 1}}), Outcome::kInstalled);
}

TEST_F(InstallBeside, SignaturesBesideTheSetDoNotStandForItsOwn) {
    WriteFile(m_defs + "package.ndb", OwnSignature('p'));
    PutIndexed(1, {{"own.ign2", "Other.Test\n", 1}});
    const auto result = Install();
    EXPECT_EQ(result.outcome, Outcome::kRefused);
    EXPECT_EQ(result.why, "there is not one signature in them");
}

TEST_F(InstallBeside, ASetThatTheAdministratorHasIgnoredIsNoReasonToRefuseIt) {
    WriteFile(m_defs + "mine.ign2", "Own.Test.a\n");
    EXPECT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('a'), 1}}), Outcome::kInstalled);
}

TEST_F(InstallBeside, OneLoadIsEnoughWhereNothingIsWrong) {
    EXPECT_EQ(InstallBesideThe({"package.ndb"}, OwnSignature('p')), Outcome::kInstalled);
    EXPECT_EQ(TheSeen().engines, 1);
}

// The limits are for one load.
TEST_F(InstallBeside, EachLoadHasAChildOfItsOwn) {
    WriteFile(m_defs + "mine.ign2", "Own.Test.a\n");
    EXPECT_EQ(InstallBesideThe({}, ""), Outcome::kInstalled);
    EXPECT_EQ(TheSeen().engines, 2) << "with the exceptions, and alone";
    EXPECT_EQ(TheSeen().mostEngines, 1);
    ForgetSeen();
    WriteFile(m_defs + "damaged.ndb", kNoSignature);
    PutIndexed(2, {{"own.ndb", OwnSignature('b'), 2}});
    EXPECT_EQ(Install().outcome, Outcome::kInstalled);
    EXPECT_EQ(TheSeen().engines, 3) << "with it, without the set, and without it";
    EXPECT_EQ(TheSeen().mostEngines, 1);
}

TEST_F(InstallBeside, ADamagedDatabaseOfAnyNameKeepsNoSetOut) {
    m_listener.stopAfter = 300;
    EXPECT_EQ(InstallBesideThe({"a\nb.ndb", "\n.ndb", "a.ndb\n.ndb"}, kNoSignature),
              Outcome::kInstalled);
    EXPECT_EQ(TheSeen().engines, 7);
}

TEST_F(InstallBeside, AmongVeryManyDamagedOnesTheSetIsJudgedAlone) {
    std::vector<std::string> names;
    for (char letter = 'a'; letter <= 'l'; ++letter) {
        names.push_back(std::string(1, letter) + ".ndb");
    }
    EXPECT_EQ(InstallBesideThe(names, kNoSignature), Outcome::kInstalled);
    EXPECT_EQ(TheSeen().engines, 17) << "of eight that are damaged two each, and alone";
    PutIndexed(2, {{"own.ndb", kNoSignature, 2}});
    ExpectRefused("own.ndb cannot be loaded: Malformed database");
}

// Else whoever may write there could keep every update out.
TEST_F(InstallBeside, WhatBreaksTheLoadWithoutTheSetKeepsNoSetOut) {
    const auto wall = m_options.limits.wall;
    for (const std::string name : {"crash", "throw", "sour", "sleep"}) {
        SCOPED_TRACE(name);
        m_options.limits.wall = name == "sleep" ? 3s : wall;
        ForgetSeen();
        const std::string path = m_defs + name + ".ndb";
        WriteFile(path, OwnSignature('p'));
        const definitions::SetNumber before = Current();
        PutIndexed(before + 1, {{"own.ndb", OwnSignature(static_cast<char>('a' + before)),
                                 static_cast<std::uint32_t>(before + 1)}});
        const auto result = Install();
        EXPECT_EQ(result.outcome, Outcome::kInstalled) << result.why;
        EXPECT_EQ(Current(), before + 1);
        EXPECT_EQ(TheSeen().engines, 3) << "with it, without the set, and alone";
        fs::remove(path);
    }
}

// Each of them costs two loads, and all of them together no more than the time there is.
TEST_F(InstallBeside, SlowDamagedOnesLeaveTheTimeToJudgeTheSet) {
    const auto begin = PatientClock::now();
    m_options.limits.end = std::chrono::steady_clock::now() + 12s;
    EXPECT_EQ(InstallBesideThe({"slow1.ndb", "slow2.ndb", "slow3.ndb", "slow4.ndb", "slow5.ndb"},
                               OwnSignature('p')),
              Outcome::kInstalled);
    EXPECT_LT(PatientClock::now() - begin, 12s);
}

// Neither may one that takes long for ever.
TEST_F(InstallBeside, OneThatLoadsForEverLeavesTheTimeToJudgeTheSet) {
    const auto begin = PatientClock::now();
    m_options.limits.end = std::chrono::steady_clock::now() + 9s;
    EXPECT_EQ(InstallBesideThe({"sleep.ndb"}, OwnSignature('p')), Outcome::kInstalled);
    EXPECT_LT(PatientClock::now() - begin, 9s);
    EXPECT_EQ(TheSeen().engines, 3) << "with it, without the set, and alone";
}

TEST_F(InstallBeside, ASetThatBreaksTheLoadIsRefusedWhateverLiesBesideIt) {
    ASSERT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('a'), 1}}), Outcome::kInstalled);
    PutIndexed(2, {{"own.ndb", OwnSignature('b'), 2}, {"crash.ndb", OwnSignature('c'), 1}});
    ExpectRefused("the check crashed: Aborted");
    WriteFile(m_defs + "crash.ndb", OwnSignature('p'));
    ExpectRefused("the check crashed: Aborted");
    fs::remove(m_defs + "crash.ndb");
    PutIndexed(2, {{"own.ndb", OwnSignature('b'), 2}, {"sour.ndb", OwnSignature('c'), 1}});
    ExpectRefused("they cannot be used together: Invalid argument passed to function");
}

TEST_F(InstallBeside, ASetThatBreaksTheLoadOfTheOthersIsRefused) {
    ASSERT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('a'), 1}}), Outcome::kInstalled);
    WriteFile(m_defs + "brittle.ndb", OwnSignature('p'));
    PutIndexed(2, {{"enemy.fp", "44d88612fea8a8f36de82e1278abb02f:68:Fine\n", 1},
                   {"own.ndb", OwnSignature('b'), 2}});
    ExpectRefused("the check crashed: Aborted");
    fs::remove(m_defs + "brittle.ndb");
    EXPECT_EQ(Install().outcome, Outcome::kInstalled) << "nothing is wrong with it alone";
}

TEST_F(InstallBeside, AStopIsOneInEveryLoad) {
    class Watch : public Listener {
    public:
        explicit Watch(int loads) : m_loads(loads) {}
        bool GoOn(InstallStep /*step*/) override { return TheSeen().engines < m_loads; }

    private:
        int m_loads;
    };
    m_options.limits.wall = 1s;
    PutIndexed(1, {{"sleep.ndb", OwnSignature('a'), 1}});
    WriteFile(m_defs + "sleep.ndb", OwnSignature('p'));
    for (int loads = 1; loads <= 3; ++loads) {
        ForgetSeen();
        Watch watch(loads);
        EXPECT_EQ(definitions::Install({m_candidate}, m_options, watch).outcome, Outcome::kStopped);
        EXPECT_EQ(TheSeen().engines, loads);
        EXPECT_THAT(Names(), ElementsAre("sleep.ndb"));
    }
}

// As another updater does to its own, by a rename.
TEST_F(InstallBeside, ADatabaseThatIsReplacedMeanwhileKeepsNoSetOut) {
    TheSeen().isMoving = true;
    EXPECT_EQ(InstallBesideThe({"moving.ndb"}, OwnSignature('p')), Outcome::kInstalled);
    EXPECT_EQ(TheSeen().engines, 3);
}

}  // namespace
