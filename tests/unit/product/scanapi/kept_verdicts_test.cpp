// What a pool scans again, and what it does not: the fake host notes each scan that begins.

#include <fcntl.h>
#include <gtest/gtest.h>

#include "product/scanapi/verdict_file.h"
#include "tests/unit/product/scanapi/kept_folder.h"
#include "tests/unit/product/scanapi/pool_fixture.h"

namespace {

namespace fs = std::filesystem;
using scanapi::Urgency;
using Names = std::vector<std::string>;

class KeptVerdictsTest : public PoolTest {
protected:
    void SetUp() override {
        PoolTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (!m_disk.IsKept()) {
            GTEST_SKIP() << "verdicts are not remembered on the file system of the build folder";
        }
        m_settings.cacheFolder = m_folder / "cache";
        WriteFile(m_database, "one");
        WriteFile(m_other, "two");
    }
    // The next program, after the end of the one before.
    void Begin() {
        m_pool.reset();
        std::error_code ignored;
        fs::remove(m_folder / "scans", ignored);
        m_pool = std::make_unique<scanapi::ScanPool>(Databases({m_database, m_other}), m_settings);
        m_pool->Start();
        ASSERT_TRUE(m_pool->WaitFor(std::chrono::seconds(60)));
        ASSERT_TRUE(m_pool->IsLoaded());
    }
    void Make(const std::string& name, const std::string& content = "text") const {
        WriteFile(m_disk / name, content);
    }
    std::shared_ptr<scanapi::PendingScan> SubmitPath(const std::string& path,
                                                     const scanning::ScanProfile& profile = {}) {
        EngineOpenStatus status = kOpenFailed;
        auto file = scanapi::TargetFile::Open(path.c_str(), status);
        EXPECT_NE(file, nullptr);
        return m_pool->Submit(std::move(file), profile, Urgency::kNow);
    }
    std::shared_ptr<scanapi::PendingScan> Submit(const std::string& name,
                                                 const scanning::ScanProfile& profile = {}) {
        return SubmitPath(m_disk / name, profile);
    }
    std::string Scan(const std::string& name, const scanning::ScanProfile& profile = {}) {
        return Text(Await(*Submit(name, profile)).outcome);
    }
    // In this pool, in this order.
    [[nodiscard]] Names Scanned() const { return Noted("scans"); }

    KeptFolder m_disk;
    std::string m_database = m_folder / "first.ndb";
    std::string m_other = m_folder / "second.ndb";
};

TEST_F(KeptVerdictsTest, WhatWasCleanReachesNoWorkerAgain) {
    for (const char* name : {"clean-1", "passed-1", "members-1"}) {
        Make(name);
    }
    Make("clean-large", std::string(std::size_t{2} << 20U, 'x'));
    m_disk.Settle();
    for (const bool isFirst : {true, false, false}) {
        Begin();
        EXPECT_EQ(Scan("clean-1"), "clean");
        EXPECT_EQ(Scan("passed-1"), "passed over");
        EXPECT_EQ(Scan("clean-large"), "clean");
        const Result result = Await(*Submit("members-1"));
        EXPECT_EQ(Text(result.outcome), "clean");
        EXPECT_EQ(result.members, (Names{"one", "two/three"}));
        EXPECT_EQ(Scanned(),
                  isFirst ? (Names{"clean-1", "passed-1", "clean-large", "members-1"}) : Names());
    }
    EXPECT_EQ(ModeOf(m_folder / "cache/verdicts"), 0600U);
}

TEST_F(KeptVerdictsTest, InTheSameProgramNeither) {
    Make("members-1");
    m_disk.Settle();
    Begin();
    EXPECT_EQ(Await(*Submit("members-1")).members, (Names{"one", "two/three"}));
    EXPECT_EQ(Await(*Submit("members-1")).members, (Names{"one", "two/three"}));
    EXPECT_EQ(Scanned(), (Names{"members-1"}));
}

TEST_F(KeptVerdictsTest, WhatIsNotCleanIsScannedEachTime) {
    const Names names{"virus-1", "unread-1", "crash-1", "many-1"};
    for (const std::string& name : names) {
        Make(name);
    }
    m_disk.Settle();
    for (int i = 0; i < 2; ++i) {
        Begin();
        EXPECT_EQ(Scan("virus-1"), "virus: Fake.Virus");
        EXPECT_EQ(Scan("unread-1"), "unread: encrypted");
        EXPECT_EQ(Scan("crash-1"), "unread: the scan of it crashed");
        EXPECT_EQ(Await(*Submit("many-1")).members, Names(41, std::string(100, 'm')));
        EXPECT_EQ(Scanned(), names);
    }
}

TEST_F(KeptVerdictsTest, AChangedFileIsScannedAnew) {
    const std::vector<std::function<void(const std::string&)>> changes{
        [](const std::string& path) { WriteFile(path, "another text"); },
        // Of the old size, and the time of its contents is put back.
        [](const std::string& path) {
            struct stat before {};
            ASSERT_EQ(stat(path.c_str(), &before), 0);
            WriteFile(path, "TEXT");
            const timespec times[2] = {before.st_atim, before.st_mtim};
            ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        },
        // Another one of its name.
        [](const std::string& path) {
            WriteFile(path + ".new", "text");
            fs::rename(path + ".new", path);
        },
        // Its state: no change of the contents goes without.
        [](const std::string& path) { ASSERT_EQ(chmod(path.c_str(), 0600), 0); },
    };
    for (std::size_t i = 0; i < changes.size(); ++i) {
        SCOPED_TRACE(i);
        Make("clean-1");
        m_disk.Settle();
        Begin();
        EXPECT_EQ(Scan("clean-1"), "clean");
        changes[i](m_disk / "clean-1");
        EXPECT_EQ(Scan("clean-1"), "clean");
        EXPECT_EQ(Scanned(), (Names{"clean-1", "clean-1"}));
    }
}

TEST_F(KeptVerdictsTest, AnotherNameIsAnotherFile) {
    Make("clean-1");
    fs::create_hard_link(m_disk / "clean-1", m_disk / "virus-1");
    m_disk.Settle();
    Begin();
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(Scan("virus-1"), "virus: Fake.Virus");
}

TEST_F(KeptVerdictsTest, ForOtherOptionsItIsScannedAnew) {
    Make("clean-1");
    m_disk.Settle();
    Begin();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Scan("clean-1"), "clean");
        EXPECT_EQ(Scan("clean-1", {.archives = true}), "clean");
        EXPECT_EQ(Scan("clean-1", {.packed = true}), "clean");
        EXPECT_EQ(Scan("clean-1", {.unknownTypes = true}), "clean");
        EXPECT_EQ(Scan("clean-1", {.unwanted = true}), "clean");
        EXPECT_EQ(Scanned(), Names(5, "clean-1"));
    }
}

TEST_F(KeptVerdictsTest, ForOtherDatabasesItIsScannedAnew) {
    Make("clean-1");
    m_disk.Settle();
    Begin();
    EXPECT_EQ(Scan("clean-1"), "clean");
    WriteFile(m_other, "six");
    Begin();
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(Scanned(), (Names{"clean-1"}));
    // One that is left out is none of them.
    WriteFile(m_other, "this passes for text\n");
    Begin();
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(Scanned(), (Names{"clean-1"}));
    WriteFile(m_other, "this passes for text\nas this does");
    Begin();
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(Scanned(), Names());
}

TEST_F(KeptVerdictsTest, AnotherProgramThatScansIsTrustedAnew) {
    Make("clean-1");
    m_disk.Settle();
    // The fake one looks for its script beside it.
    fs::remove(m_settings.host);
    fs::copy_file(FAKE_SCANHOST, m_settings.host);
    Begin();
    EXPECT_EQ(Scan("clean-1"), "clean");
    fs::remove(m_settings.host);
    fs::copy_file(FAKE_SCANHOST, m_settings.host);
    Begin();
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(Scanned(), (Names{"clean-1"}));
}

TEST_F(KeptVerdictsTest, DatabasesThatChangeWhileTheyAreLoadedLeaveNothing) {
    Make("clean-1");
    m_disk.Settle();
    scanapi::VerdictKeeper keeper(m_settings);
    const auto answer = [&] {
        EngineOpenStatus status = kOpenFailed;
        scanapi::PendingScan scan(scanapi::TargetFile::Open((m_disk / "clean-1").c_str(), status),
                                  {}, Urgency::kNow, std::make_shared<scanapi::Wakeup>());
        if (keeper.Answer(scan)) {
            return true;
        }
        scan.BeginReading();
        scanning::ScanOutcome clean;
        clean.verdict = scanning::Verdict::Clean;
        scan.Finish(clean);
        return false;
    };
    const auto both = Databases({m_database, m_other});
    keeper.BeforeLoading(both);
    EXPECT_FALSE(answer());
    keeper.AfterLoading(both);
    EXPECT_FALSE(answer());
    EXPECT_TRUE(answer());
    // Loaded once more after the end of a host.
    keeper.BeforeLoading(both);
    keeper.AfterLoading(both);
    EXPECT_TRUE(answer());
    keeper.BeforeLoading(both);
    WriteFile(m_other, "new");
    keeper.AfterLoading(both);
    EXPECT_FALSE(answer());
    EXPECT_FALSE(answer());
    // Also of one that was left out then.
    keeper.BeforeLoading(both);
    WriteFile(m_other, "newer");
    keeper.AfterLoading(Databases({m_database}));
    EXPECT_FALSE(answer());
    EXPECT_FALSE(answer());
}

TEST_F(KeptVerdictsTest, AWriterNeedNotWaitForAScan) {
    Make("hang-large", std::string(std::size_t{2} << 20U, 'x'));
    m_disk.Settle();
    Begin();
    const auto scan = Submit("hang-large");
    ASSERT_TRUE(WaitUntil([&] { return !Scanned().empty(); }, std::chrono::seconds(30)));
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(InChild([&] {
                  const common::FileDescriptor file(
                      ::open((m_disk / "hang-large").c_str(), O_WRONLY | O_CLOEXEC));
                  return file ? 0 : 1;
              }),
              0);
    // Without that the kernel would have it wait for 45 seconds.
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(30));
    EXPECT_FALSE(scan->IsFinished());
    scan->Abandon(true);
}

TEST_F(KeptVerdictsTest, WhatIsScannedAgainIsRememberedOnce) {
    Make("members-1");
    Make("clean-1");
    m_disk.Settle();
    Script("die-first 1\n");
    Begin();
    const Result first = Await(*Submit("members-1"));
    EXPECT_EQ(first.members, (Names{"one", "two/three"}));
    Begin();
    EXPECT_EQ(Await(*Submit("members-1")).members, first.members);
    EXPECT_EQ(Scanned(), Names());
}

TEST_F(KeptVerdictsTest, OnMemoryFileSystemsNothingIsRemembered) {
    const std::string path = m_folder / "clean-1";
    WriteFile(path, "text");
    m_disk.Settle();
    Begin();
    EXPECT_EQ(Text(Await(*SubmitPath(path)).outcome), "clean");
    EXPECT_EQ(Text(Await(*SubmitPath(path)).outcome), "clean");
    EXPECT_EQ(Scanned(), (Names{"clean-1", "clean-1"}));
}

TEST_F(KeptVerdictsTest, SwitchedOffNothingIsRememberedOrFound) {
    Make("clean-1");
    m_disk.Settle();
    Begin();
    EXPECT_EQ(Scan("clean-1"), "clean");
    m_settings.cache.isOn = false;
    Begin();
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(Scanned(), (Names{"clean-1", "clean-1"}));
}

TEST_F(KeptVerdictsTest, ACacheThatCannotBeKeptCostsNoScan) {
    Make("clean-1");
    m_disk.Settle();
    WriteFile(m_folder / "cache", "in the way");
    Begin();
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(Scanned(), (Names{"clean-1", "clean-1"}));
    EXPECT_EQ(ReadFile(m_folder / "cache"), "in the way");
    EXPECT_NE(Log().find("scanapi: verdicts are not kept: "), std::string::npos) << Log();
}

}  // namespace
