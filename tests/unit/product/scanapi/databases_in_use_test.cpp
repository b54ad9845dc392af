#include "product/scanapi/databases_in_use.h"

#include <algorithm>
#include <filesystem>
#include <limits>

#include "tests/unit/product/scanapi/pool_fixture.h"

// When another set is loaded, beside the one in use or in its place, and which of them a run uses.

namespace fs = std::filesystem;

namespace scanapi {
namespace {

using std::chrono::milliseconds;

constexpr char kSignature[] = "Own.Test.A:0:*:6f776e2d746573742d41\n";
constexpr char kDamaged[] = "this passes for text\n";

class DatabasesInUseTest : public PoolTest {
protected:
    void SetUp() override {
        PoolTest::SetUp();
        Put("set-1/own.ndb", kSignature);
        SwitchTo("set-1");
    }
    void TearDown() override {
        m_databases.reset();
        PoolTest::TearDown();
    }

    void Put(const std::string& name, const std::string& content) const {
        const fs::path path = m_directory + "defs/" + name;
        fs::create_directories(path.parent_path());
        WriteFile(path, content);
    }

    void SwitchTo(const std::string& set) const {
        fs::create_symlink(set, m_directory + "defs/current.new");
        fs::rename(m_directory + "defs/current.new", m_directory + "defs/current");
    }

    void Use(milliseconds retryInterval = std::chrono::hours(1)) {
        m_databases = std::make_unique<DatabasesInUse>(
            m_directory, definitions::FindDatabases(m_directory, "set-1").usable, "set-1",
            m_settings, retryInterval, [this] { return m_available; });
        ASSERT_TRUE(m_databases->ForScan()->WaitFor(milliseconds(10'000)));
        ASSERT_EQ(Set(), "set-1");
    }
    void BeginRun() { m_databases->BeginRun(m_settings); }

    /// The set that a scan would use now.
    std::string Set() const {
        const auto pool = m_databases->ForScan();
        if (!pool->WaitFor(milliseconds(10'000)) || !pool->IsLoaded()) {
            return "none";
        }
        for (const Database& each : pool->Databases()) {
            std::string folder = fs::path(each.path).parent_path().filename();
            if (folder.starts_with("set-")) {
                return folder;
            }
        }
        return "the package's";
    }
    /// As runs begin, until one uses this set.
    bool ARunComesToUse(const std::string& set) {
        return WaitUntil([&] {
            BeginRun();
            return Set() == set;
        });
    }
    /// As runs begin, until the log tells of this.
    bool ARunComesToLog(const std::string& text) {
        return WaitUntil([&] {
            BeginRun();
            return Log().find(text) != std::string::npos;
        });
    }
    /// Until the host that was started last has loaded, and the pool knows.
    void WaitForLoads(std::size_t loads) const {
        ASSERT_TRUE(WaitUntil([&] { return Noted("loads").size() == loads; }));
        std::this_thread::sleep_for(milliseconds(500));
    }

    std::string m_directory = m_folder / "engine/";
    std::uint64_t m_available = std::numeric_limits<std::uint64_t>::max();
    std::unique_ptr<DatabasesInUse> m_databases;
};

TEST_F(DatabasesInUseTest, ANewSetIsLookedForAsARunBeginsAndUsedByTheNext) {
    Use();
    Put("set-2/own.ndb", kSignature);
    SwitchTo("set-2");
    std::this_thread::sleep_for(milliseconds(200));
    EXPECT_EQ(Starts(), 1U) << "nobody asked for it";
    BeginRun();
    EXPECT_EQ(Set(), "set-1");
    WaitForLoads(2);
    EXPECT_EQ(Set(), "set-1") << "of a run that began before";
    EXPECT_TRUE(ARunComesToUse("set-2"));
    EXPECT_TRUE(WaitUntil([this] { return Living() == 2; })) << "the old host is gone";
    BeginRun();
    EXPECT_EQ(Starts(), 2U);
}

TEST_F(DatabasesInUseTest, OfTwoNewSetsTheNewerIsLoaded) {
    Use();
    Put("set-2/own.ndb", kSignature);
    Put("set-3/own.ndb", kSignature);
    SwitchTo("set-2");
    Script("load-forever\n");
    BeginRun();
    ASSERT_TRUE(WaitUntil([this] { return Noted("loads-forever").size() == 1; }));
    SwitchTo("set-3");
    Script("");
    BeginRun();
    EXPECT_EQ(Set(), "set-1");
    EXPECT_TRUE(ARunComesToUse("set-3"));
    EXPECT_EQ(Starts(), 3U);
}

TEST_F(DatabasesInUseTest, ASetThatCouldNotBeLoadedIsNotTriedAgainAtOnce) {
    Use(std::chrono::hours(1));
    Put("set-2/own.ndb", kDamaged);
    SwitchTo("set-2");
    ASSERT_TRUE(ARunComesToLog("no database could be loaded"));
    Put("set-2/own.ndb", kSignature);
    for (int run = 0; run < 10; ++run) {
        BeginRun();
        EXPECT_EQ(Set(), "set-1");
        std::this_thread::sleep_for(milliseconds(30));
    }
    EXPECT_EQ(Starts(), 2U);
}

TEST_F(DatabasesInUseTest, ASetThatCouldNotBeLoadedIsTriedAgainAfterAWhile) {
    Use(milliseconds(1));
    Put("set-2/own.ndb", kDamaged);
    SwitchTo("set-2");
    ASSERT_TRUE(ARunComesToLog("no database could be loaded"));
    Put("set-2/own.ndb", kSignature);
    EXPECT_TRUE(ARunComesToUse("set-2"));
}

// With a clamd, databases are loaded by the first file that needs them.
class IdleDatabases : public DatabasesInUseTest {
protected:
    void SetUp() override {
        DatabasesInUseTest::SetUp();
        m_settings.clamd = {.isOn = true, .config = m_folder / "missing.conf"};
        m_settings.workers = 1;
    }
    std::string ScanWhatIsInUse(const std::string& name) {
        const std::string path = m_folder / name;
        WriteFile(path, "text");
        EngineOpenStatus status = kOpenFailed;
        const auto scan = m_databases->ForScan()->Submit(TargetFile::Open(path.c_str(), status), {},
                                                         Urgency::kNow);
        return Text(Await(*scan).outcome);
    }
};

TEST_F(IdleDatabases, WhatNobodyHasLoadedIsReplacedAtOnce) {
    Use();
    Put("set-2/own.ndb", kSignature);
    SwitchTo("set-2");
    BeginRun();
    EXPECT_EQ(Set(), "set-2");
    EXPECT_EQ(Starts(), 0U);
    EXPECT_EQ(ScanWhatIsInUse("clean-1"), "clean");
    EXPECT_EQ(Starts(), 1U);
}

TEST_F(IdleDatabases, WhatWasReplacedUnloadedComesBackWhereTheNewOnesAreOfNoUse) {
    Use();
    Put("set-2/own.ndb", kDamaged);
    SwitchTo("set-2");
    BeginRun();
    EXPECT_EQ(Set(), "set-2");
    EXPECT_EQ(ScanWhatIsInUse("clean-1").substr(0, 7), "unread:");
    EXPECT_EQ(Set(), "set-1");
    EXPECT_EQ(ScanWhatIsInUse("clean-2"), "clean");
    BeginRun();
    EXPECT_EQ(Set(), "set-1") << "it is not tried again at once";
}

TEST_F(IdleDatabases, OnceLoadedTheyAreReplacedByLoadedOnesOnly) {
    Use();
    EXPECT_EQ(ScanWhatIsInUse("clean-1"), "clean");
    Put("set-2/own.ndb", kSignature);
    SwitchTo("set-2");
    BeginRun();
    EXPECT_EQ(Set(), "set-1");
    EXPECT_TRUE(ARunComesToUse("set-2"));
    EXPECT_EQ(Starts(), 2U);
}

TEST_F(DatabasesInUseTest, ASetThatLostADatabaseInUseWaits) {
    Put("package.ndb", kSignature);
    Use();
    Put("set-2/own.ndb", kDamaged);
    SwitchTo("set-2");
    EXPECT_TRUE(ARunComesToLog("the new definitions wait, for (" + m_directory +
                               "defs/set-2/own.ndb) could not be loaded, and is in use as it was"));
    EXPECT_EQ(Set(), "set-1");
    BeginRun();
    EXPECT_EQ(Starts(), 2U);
    // Another set is tried at once.
    Put("set-3/own.ndb", kSignature);
    SwitchTo("set-3");
    EXPECT_TRUE(ARunComesToUse("set-3"));
    EXPECT_EQ(Starts(), 3U);
}

TEST_F(DatabasesInUseTest, WhereMemoryIsShortTheOldOneGoesFirst) {
    Use();
    m_available = m_databases->ForScan()->MemoryTaken() - 1;
    Put("set-2/own.ndb", kSignature);
    SwitchTo("set-2");
    Script("load-forever\n");
    BeginRun();
    EXPECT_FALSE(m_databases->ForScan()->WaitFor(milliseconds(200)));
    EXPECT_TRUE(WaitUntil([this] { return Living() == 1; })) << "no more than the new host";
    EXPECT_NE(Log().find("in place of those in use, for want of memory"), std::string::npos);
    Script("");
    SwitchTo("set-1");
    BeginRun();
}

TEST_F(DatabasesInUseTest, AndTheRunUsesTheNew) {
    Use();
    m_available = m_databases->ForScan()->MemoryTaken() - 1;
    Put("set-2/own.ndb", kSignature);
    SwitchTo("set-2");
    BeginRun();
    EXPECT_EQ(Set(), "set-2");
    EXPECT_EQ(Starts(), 2U);
}

TEST_F(DatabasesInUseTest, WithMemoryForBothTheOldOneStays) {
    Use();
    m_available = m_databases->ForScan()->MemoryTaken();
    Put("set-2/own.ndb", kSignature);
    SwitchTo("set-2");
    BeginRun();
    EXPECT_EQ(Set(), "set-1");
}

TEST_F(DatabasesInUseTest, TheOldOneComesBackWhenItsSuccessorCannotBeLoaded) {
    for (const bool hasOther : {false, true}) {
        SCOPED_TRACE(hasOther);
        if (hasOther) {
            SetUp();
            Put("package.ndb", kSignature);
        }
        m_available = std::numeric_limits<std::uint64_t>::max();
        Use();
        m_available = 0;
        Put("set-2/own.ndb", kDamaged);
        SwitchTo("set-2");
        BeginRun();
        EXPECT_TRUE(WaitUntil([this] { return Set() == "set-1"; }));
        m_databases.reset();
        fs::remove(m_settings.host);
    }
}

TEST_F(DatabasesInUseTest, OtherSettingsAreLoadedBesideToo) {
    Use();
    m_settings.workers = 2;
    // The host and two workers, and no more of the one before.
    EXPECT_TRUE(WaitUntil([this] {
        BeginRun();
        return Living() == 3 && Noted("loads").size() == 2;
    }));
    EXPECT_EQ(Set(), "set-1");
    EXPECT_EQ(Noted("loads").back().substr(0, 2), "2 ");
    EXPECT_EQ(Starts(), 2U);
}

TEST_F(DatabasesInUseTest, TheNewestAreKnownBeforeTheyAreLoaded) {
    Use();
    const auto newest = [this] { return fs::path(m_databases->Newest().front().path); };
    EXPECT_EQ(newest(), m_directory + "defs/set-1/own.ndb");
    Put("set-2/own.ndb", kSignature);
    SwitchTo("set-2");
    EXPECT_EQ(newest(), m_directory + "defs/set-2/own.ndb");
    EXPECT_EQ(Starts(), 1U);
    SwitchTo("set-1");
    EXPECT_EQ(newest(), m_directory + "defs/set-1/own.ndb");
    Put("set-3/own.ndb", kDamaged);
    SwitchTo("set-3");
    ASSERT_TRUE(ARunComesToLog("no database could be loaded"));
    BeginRun();
    EXPECT_EQ(newest(), m_directory + "defs/set-1/own.ndb") << "of a set that cannot be loaded";
}

TEST_F(DatabasesInUseTest, ASetWithoutDatabasesIsNone) {
    Use();
    Put("set-2/readme.txt", "nothing here");
    SwitchTo("set-2");
    BeginRun();
    BeginRun();
    EXPECT_EQ(Set(), "set-1");
    EXPECT_EQ(Log(), "scanapi: no usable database in the new definitions\n");
    EXPECT_EQ(fs::path(m_databases->Newest().front().path), m_directory + "defs/set-1/own.ndb");
}

TEST_F(DatabasesInUseTest, AfterCancellingNothingBegins) {
    Use();
    m_databases->Cancel();
    Put("set-2/own.ndb", kSignature);
    SwitchTo("set-2");
    BeginRun();
    EXPECT_EQ(Starts(), 1U);
    EXPECT_TRUE(m_databases->ForScan()->WaitFor(milliseconds(0)));
}

TEST_F(DatabasesInUseTest, TheSystemTellsItsMemory) {
    const std::uint64_t available = DatabasesInUse::ReadAvailableMemory();
    EXPECT_GT(available, 1U << 20U);
    EXPECT_LT(available, std::uint64_t{1} << 50U);
}

}  // namespace
}  // namespace scanapi
