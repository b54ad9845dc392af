#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>
#include <unistd.h>

#include "tests/support/quickest.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

// New definitions while the engine runs.

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
namespace fs = std::filesystem;

class SwitchingTest : public EngineTest {
protected:
    // A set that finds the text "set-test-LETTER", of version 1.NUMBER and the year 2026.
    void PutSet(unsigned int number, char letter) const {
        char line[80];
        (void)std::snprintf(line, sizeof line, "Set.Test.%c:0:*:7365742d746573742d%02x\n", letter,
                            static_cast<unsigned int>(letter));
        m_engine.Write(Set(number) + "own.ndb", line);
        const tagZQVERINFO version{
            1, static_cast<std::uint16_t>(number), {2026, 11, 6, 21, 1, 2, 3, 0}};
        m_engine.Write(Set(number) + "scanver.cnf",
                       {reinterpret_cast<const char*>(&version), sizeof version});
    }

    static std::string Set(unsigned int number) {
        return "defs/set-" + std::to_string(number) + "/";
    }

    void SwitchTo(const std::string& target) const {
        fs::create_symlink(target, m_engine.Path("defs/current.new"));
        fs::rename(m_engine.Path("defs/current.new"), m_engine.Path("defs/current"));
    }

    void StartWithSetOne() {
        InstallSignatures();
        PutSet(1, 'A');
        SwitchTo("set-1");
        fs::create_symlink("defs/current/scanver.cnf", m_engine.Path("scanver.cnf"));
        StartWith(Options());
        ASSERT_TRUE(Finds('A'));
    }

    bool Finds(char letter) {
        m_messages.clear();
        Scan(m_tree.Write("file", std::string("the set-test-") + letter + " in a file"));
        return Find(1001) != nullptr;
    }

    // As a run begins; whether it finds the text of `letter` after at most ten seconds.
    bool ARunComesToFind(char letter) {
        return WaitUntil([&] {
            m_library.resetFlags();
            return Finds(letter);
        });
    }

    [[nodiscard]] int Version() const {
        tagZQVERINFO version{};
        m_library.getVersion(&version);
        return version.major * 100 + version.minor;
    }
};

TEST_F(SwitchingTest, TheSetInUseIsLoadedBesideThePackagesOwnSignatures) {
    StartWithSetOne();
    PutSet(2, 'B');
    EXPECT_FALSE(Finds('B')) << "of a set that is not in use";
    m_messages.clear();
    Scan(m_tree.Write("e.com",
                      "X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-ANTIVIRUS-TEST-FILE!"
                      "$H+H*"));
    ASSERT_NE(Find(1001), nullptr);
    EXPECT_EQ(Find(1001)->virus, "Eicar-Test-Signature.UNOFFICIAL");
}

TEST_F(SwitchingTest, ARunThatBeginsAfterTheLoadingUsesTheNewSet) {
    StartWithSetOne();
    PutSet(2, 'B');
    SwitchTo("set-2");
    EXPECT_TRUE(ARunComesToFind('B'));
    EXPECT_FALSE(Finds('A'));
    PutSet(3, 'C');
    SwitchTo("set-3");
    EXPECT_TRUE(ARunComesToFind('C'));
    EXPECT_FALSE(Finds('B'));
}

TEST_F(SwitchingTest, ARunUnderWayKeepsItsSet) {
    StartWithSetOne();
    PutSet(2, 'B');
    SwitchTo("set-2");
    // Looked for as this run begins, and loaded beside it.
    m_library.resetFlags();
    // Far longer than the loading of so small a set takes.
    const auto end = Clock::now() + milliseconds(1500);
    while (Clock::now() < end) {
        ASSERT_TRUE(Finds('A'));
        ASSERT_FALSE(Finds('B'));
        std::this_thread::sleep_for(milliseconds(20));
    }
    EXPECT_TRUE(ARunComesToFind('B')) << "one that begins later";
}

TEST_F(SwitchingTest, NobodyLooksForANewSetBeforeARunBegins) {
    StartWithSetOne();
    m_engine.Write(Set(2) + "broken.ndb", "this passes for text\n");
    SwitchTo("set-2");
    std::this_thread::sleep_for(milliseconds(1000));
    EXPECT_EQ(LinesOfTheEngine(), "");
    m_library.resetFlags();
    EXPECT_TRUE(
        WaitUntil([] { return ReadAll("/zqcommon.log").find("broken.ndb") != std::string::npos; }));
}

TEST_F(SwitchingTest, TheFirstUpdateTakesOverFromWhatThePackageBrought) {
    InstallSignatures();
    const tagZQVERINFO packages{2, 0, {2026, 11, 6, 21, 1, 2, 3, 0}};
    m_engine.Write("defs/package/scanver.cnf",
                   {reinterpret_cast<const char*>(&packages), sizeof packages});
    SwitchTo("package");
    fs::create_symlink("defs/current/scanver.cnf", m_engine.Path("scanver.cnf"));
    StartWith(Options());
    EXPECT_EQ(Version(), 200);
    EXPECT_FALSE(Finds('A'));
    PutSet(1, 'A');
    SwitchTo("set-1");
    EXPECT_EQ(Version(), 101);
    EXPECT_TRUE(ARunComesToFind('A'));
}

TEST_F(SwitchingTest, TheVersionIsAnsweredAnewAtOnce) {
    StartWithSetOne();
    EXPECT_EQ(Version(), 101);
    PutSet(2, 'B');
    SwitchTo("set-2");
    EXPECT_EQ(Version(), 102);
    SwitchTo("set-1");
    EXPECT_EQ(Version(), 101);
}

// The head of the database in use would count against the older set's record: it is newer.
TEST_F(SwitchingTest, TheVersionOfAnOlderSetIsAnsweredBeforeItIsLoaded) {
    InstallSignatures();
    PutSet(1, 'A');
    PutSet(2, 'B');
    WriteNumberedDatabase(Set(2) + "daily.cud", 27512, 1921463753);  // in 2030
    SwitchTo("set-2");
    fs::create_symlink("defs/current/scanver.cnf", m_engine.Path("scanver.cnf"));
    StartWith(Options());
    EXPECT_EQ(Version(), 27512);
    SwitchTo("set-1");
    EXPECT_EQ(Version(), 101);
}

TEST_F(SwitchingTest, NobodyWaitsForTheNewSet) {
    StartWithSetOne();
    PutSet(2, 'B');
    std::string hashes;
    for (int i = 0; i < 1000000; ++i) {
        char line[80];
        hashes.append(line, static_cast<std::size_t>(std::snprintf(
                                line, sizeof line, "%08x%024x:%d:Load.Test.%d\n",
                                static_cast<unsigned int>(i) * 2654435761U, i, 100 + i % 1000, i)));
    }
    m_engine.Write(Set(2) + "large.hdb", hashes);
    const auto before = Clock::now();
    SwitchTo("set-2");
    EXPECT_EQ(Version(), 102);
    m_library.resetFlags();
    EXPECT_TRUE(Finds('A')) << "with the old set, for the new one takes a while";
    const auto first = Clock::now() - before;
    ASSERT_TRUE(WaitUntil(
        [&] {
            m_library.resetFlags();
            return Finds('B');
        },
        std::chrono::seconds(100)));
    EXPECT_LT(first * 2, Clock::now() - before);
}

TEST_F(SwitchingTest, ASetThatCannotBeLoadedLeavesTheOldOneInUse) {
    StartWithSetOne();
    m_engine.Write(Set(2) + "broken.ndb", "this passes for text\n");
    fs::remove(m_engine.Path("defs/corvane.ldb"));
    SwitchTo("set-2");
    m_library.resetFlags();
    ASSERT_TRUE(
        WaitUntil([] { return ReadAll("/zqcommon.log").find("broken.ndb") != std::string::npos; }));
    std::this_thread::sleep_for(milliseconds(100));
    m_library.resetFlags();
    EXPECT_TRUE(Finds('A'));
    PutSet(3, 'C');
    SwitchTo("set-3");
    EXPECT_TRUE(ARunComesToFind('C'));
}

TEST_F(SwitchingTest, ASetThatLostADatabaseInUseDoesNotReplaceIt) {
    StartWithSetOne();
    PutSet(2, 'B');
    fs::rename(m_engine.Path(Set(2) + "own.ndb"), m_engine.Path(Set(2) + "other.ndb"));
    m_engine.Write(Set(2) + "own.ndb", "this passes for text\n");
    SwitchTo("set-2");
    ASSERT_TRUE(WaitUntil([&] {
        m_library.resetFlags();
        EXPECT_TRUE(Finds('A'));
        return ReadAll("/zqcommon.log").find("set-2/own.ndb) could not be loaded") !=
               std::string::npos;
    }));
    EXPECT_TRUE(Finds('A'));
    EXPECT_FALSE(Finds('B'));
    PutSet(3, 'C');
    SwitchTo("set-3");
    EXPECT_TRUE(ARunComesToFind('C'));
}

TEST_F(SwitchingTest, TheFirstSetOfAMachineIsUsedToo) {
    InstallSignatures();
    StartWith(Options());
    EXPECT_FALSE(Finds('A'));
    PutSet(1, 'A');
    SwitchTo("set-1");
    EXPECT_TRUE(ARunComesToFind('A'));
}

TEST_F(SwitchingTest, ALinkOutOfTheFolderIsNoSet) {
    StartWithSetOne();
    m_engine.Write("elsewhere/own.ndb", "Set.Test.Z:0:*:7365742d746573742d5a\n");
    for (const std::string& target :
         {m_engine.Path("elsewhere"), std::string("../elsewhere"), std::string("..")}) {
        SwitchTo(target);
        m_library.resetFlags();
        std::this_thread::sleep_for(milliseconds(200));
        m_library.resetFlags();
        EXPECT_FALSE(Finds('Z')) << target;
    }
}

TEST_F(SwitchingTest, ClosesWhileTheNewSetIsLoaded) {
    StartWithSetOne();
    unsigned int number = 2;
    constexpr milliseconds kEnough(3000);
    const auto quickest = QuickestOf(3, kEnough, [&] {
        for (const unsigned int end = number + 10; number < end; ++number) {
            PutSet(number, 'B');
            SwitchTo("set-" + std::to_string(number));
            m_library.resetFlags();
        }
        const auto before = Clock::now();
        m_library.deinit();
        const auto time = Clock::now() - before;
        StartWith(Options());
        return time;
    });
    EXPECT_LT(quickest, kEnough);
}

}  // namespace
