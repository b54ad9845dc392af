#include "product/scanapi/scan_pool.h"

#include <algorithm>
#include <chrono>
#include <utime.h>

#include "tests/support/quickest.h"
#include "tests/unit/product/scanapi/pool_fixture.h"

// What a pool makes of what its workers say and do.

namespace {

using Clock = std::chrono::steady_clock;
using Lines = std::vector<std::string>;
using scanapi::PendingScan;
using scanapi::Urgency;
using std::chrono::milliseconds;

class ScanPoolTest : public PoolTest {
protected:
    using Pending = std::vector<std::shared_ptr<PendingScan>>;

    // All in one batch, for they wait before there is a worker.
    Lines ScanTogether(const Lines& names, std::uint32_t workers = 1) {
        Create(workers);
        Pending scans;
        for (const std::string& name : names) {
            scans.push_back(Submit(name, "text", Urgency::kAhead));
        }
        m_pool->Start();
        Lines results;
        for (const auto& scan : scans) {
            results.push_back(Text(Await(*scan).outcome));
        }
        return results;
    }
};

TEST_F(ScanPoolTest, EveryKindOfVerdictComesBack) {
    Start();
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(Scan("virus-1"), "virus: Fake.Virus");
    EXPECT_EQ(Scan("unread-1"), "unread: encrypted");
    EXPECT_EQ(Scan("passed-1"), "passed over");
    EXPECT_EQ(Starts(), 1U);
}

TEST_F(ScanPoolTest, TheHostIsToldWhatToLoadAndHow) {
    m_settings.memoryMiB = 700;
    m_settings.scratchBase = "/tmp/of the options";
    m_settings.switches = 5;
    Start(3);
    ASSERT_TRUE(m_pool->WaitFor(milliseconds(10'000)));
    EXPECT_TRUE(m_pool->IsLoaded());
    EXPECT_GT(m_pool->MemoryTaken(), 500'000U);
    EXPECT_EQ(Noted("databases"), (Lines{"/first.ndb", "/second.ndb"}));
    EXPECT_EQ(Noted("loads"), (Lines{"3 700 /tmp/of the options 5"}));
}

TEST_F(ScanPoolTest, AWorkerGetsTheBytesOfSmallFilesAndDescriptorsOfLargeOnes) {
    Start();
    EXPECT_EQ(Scan("echo-1", "what is in it"), "virus: what is in it");
    EXPECT_EQ(Scan("size-0", ""), "virus: 0");
    EXPECT_EQ(Scan("size-1", std::string(1U << 20U, 'x')), "virus: 1048576");
    // Of what it reads itself the fake reads the first 16 bytes.
    EXPECT_EQ(Scan("size-2", std::string((1U << 20U) + 1, 'x')), "virus: 16");
    Pending scans;
    for (int i = 0; i < 200; ++i) {
        scans.push_back(Submit("echo-" + std::to_string(i), "content " + std::to_string(i),
                               i % 3 == 0 ? Urgency::kNow : Urgency::kAhead));
    }
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(Text(Await(*scans[static_cast<std::size_t>(i)]).outcome),
                  "virus: content " + std::to_string(i));
    }
}

TEST_F(ScanPoolTest, MembersAreTold) {
    Start();
    const Result result = Await(*Submit("members-1"));
    EXPECT_EQ(result.members, (Lines{"one", "two/three"}));
    EXPECT_EQ(Text(result.outcome), "clean");
}

TEST_F(ScanPoolTest, AWorkerThatEndsCostsTheFileThatItWasAt) {
    const std::vector<std::pair<std::string, std::string>> deaths{
        {"crash-1", "unread: the scan of it crashed"},
        {"leaves-1", "unread: the scan of it crashed"},
        {"killed-1", "unread: the scan of it was killed, for want of memory perhaps"},
        {"refused-1", "unread: what scanned it tried something that it may not"},
        {"closes-1", "unread: the scan of it was killed, for want of memory perhaps"},
    };
    for (const auto& [name, text] : deaths) {
        SCOPED_TRACE(name);
        EXPECT_EQ(ScanTogether({"clean-1", "virus-2", name, "clean-3", "virus-4"}),
                  (Lines{"clean", "virus: Fake.Virus", text, "clean", "virus: Fake.Virus"}));
        m_pool.reset();
    }
    EXPECT_EQ(Starts(), deaths.size()) << "it is the worker that is replaced, not its host";
}

TEST_F(ScanPoolTest, EveryFileMayEndItsWorker) {
    Lines names;
    for (int i = 0; i < 50; ++i) {
        names.push_back((i % 5 == 0 ? "crash-" : "clean-") + std::to_string(i));
    }
    const Lines results = ScanTogether(names, 2);
    for (std::size_t i = 0; i < results.size(); ++i) {
        EXPECT_EQ(results[i], i % 5 == 0 ? "unread: the scan of it crashed" : "clean") << i;
    }
}

// The members of the first are told before the second ends their worker, its verdict is not.
TEST_F(ScanPoolTest, AFileThatIsScannedAgainTellsOfItsMembersOnce) {
    Create();
    const auto first = Submit("members-1", "text", Urgency::kAhead);
    const auto second = Submit("crash-2", "text", Urgency::kAhead);
    m_pool->Start();
    const Result result = Await(*first);
    EXPECT_EQ(result.members, (Lines{"one", "two/three"}));
    EXPECT_EQ(Text(result.outcome), "clean");
    EXPECT_EQ(Text(Await(*second).outcome), "unread: the scan of it crashed");
}

TEST_F(ScanPoolTest, AWorkerThatPointsAtNoFileWasAtTheFirst) {
    EXPECT_EQ(ScanTogether({"lies-1", "clean-2"}),
              (Lines{"unread: the scan of it crashed", "clean"}));
}

TEST_F(ScanPoolTest, WorkersThatEndBeforeTheyBeginCostNoFile) {
    Script("die-first 5\n");
    EXPECT_EQ(ScanTogether({"clean-1"}), (Lines{"clean"}));
    EXPECT_EQ(Starts(), 1U);
}

TEST_F(ScanPoolTest, AWorkerThatStandsStillIsReplaced) {
    // So long that no worker stands still for want of a processor.
    m_settings.standstill = milliseconds(3000);
    EXPECT_EQ(ScanTogether({"clean-1", "hang-2", "virus-3"}),
              (Lines{"clean", "unread: the scan of it stood still", "virus: Fake.Virus"}));
}

TEST_F(ScanPoolTest, NonsenseIsNotBelieved) {
    for (const char* what :
         {"wrongid", "wrongmember", "garbage", "tail", "gift", "huge", "flood"}) {
        SCOPED_TRACE(what);
        EXPECT_EQ(
            ScanTogether({std::string(what) + "-1", "clean-2", "virus-3"}),
            (Lines{"unread: what scanned it answered nonsense", "clean", "virus: Fake.Virus"}));
        m_pool.reset();
    }
}

// Once was fine; saying it again costs the worker the file that it pretends to be at.
TEST_F(ScanPoolTest, AVerdictComesOnce) {
    EXPECT_EQ(ScanTogether({"twice-1", "clean-2", "virus-3"}),
              (Lines{"clean", "unread: what scanned it answered nonsense", "virus: Fake.Virus"}));
}

TEST_F(ScanPoolTest, TheProcessorsTimeOfAScanIsBounded) {
    m_settings.processorTime = milliseconds(200);
    EXPECT_EQ(ScanTogether({"clean-1", "burn-2", "clean-3"}),
              (Lines{"clean", "unread: the scan of it took too long", "clean"}));
}

// However long it takes by the clock: that depends on what else the machine does.
TEST_F(ScanPoolTest, TheTimeByTheClockIsNot) {
    m_settings.processorTime = milliseconds(200);
    Start();
    EXPECT_EQ(Scan("slow-1"), "clean");
}

TEST_F(ScanPoolTest, AFileThatChangesWhileItIsScannedIsUnreadUnlessSomethingWasFound) {
    Start();
    for (const auto& [name, text] : std::vector<std::pair<std::string, std::string>>{
             {"held-1", "unread: it changed while it was scanned"},
             {"heldvirus-1", "virus: Fake.Virus"}}) {
        const auto scan = Submit(name);
        ASSERT_TRUE(HasBegun(name));
        WriteFile(m_folder / name, "more text");
        LetGo();
        EXPECT_EQ(Text(Await(*scan).outcome), text);
        std::filesystem::remove(m_folder / "go-on");
    }
    // Neither its size nor the time of its contents tells of this one.
    const auto scan = Submit("held-2");
    struct stat before {};
    ASSERT_EQ(::stat((m_folder / "held-2").c_str(), &before), 0);
    ASSERT_TRUE(HasBegun("held-2"));
    WriteFile(m_folder / "held-2", "TEXT");
    const std::array<timespec, 2> times{before.st_atim, before.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, (m_folder / "held-2").c_str(), times.data(), 0), 0);
    LetGo();
    EXPECT_EQ(Text(Await(*scan).outcome), "unread: it changed while it was scanned");
}

TEST_F(ScanPoolTest, AFileCutShortBeforeItIsReadIsUnread) {
    Start();
    ASSERT_TRUE(m_pool->WaitFor(milliseconds(10'000)));
    const std::string path = m_folder / "clean-1";
    WriteFile(path, std::string(1000, 'x'));
    EngineOpenStatus status = kOpenFailed;
    auto file = scanapi::TargetFile::Open(path.c_str(), status);
    std::filesystem::resize_file(path, 10);
    EXPECT_EQ(Text(Await(*m_pool->Submit(std::move(file), {}, Urgency::kNow)).outcome),
              "unread: it was cut short or could not be read");
}

TEST_F(ScanPoolTest, AFileBeyondTheBoundIsNotEvenTried) {
    Start();
    const std::string path = m_folder / "virus-1";
    WriteFile(path, "");
    std::filesystem::resize_file(path, (100U << 20U) + 1);
    EngineOpenStatus status = kOpenFailed;
    auto file = scanapi::TargetFile::Open(path.c_str(), status);
    EXPECT_EQ(Text(Await(*m_pool->Submit(std::move(file), {}, Urgency::kNow)).outcome),
              "unread: it is too large");
}

TEST_F(ScanPoolTest, WhatIsBrokenOffCostsNoOtherFile) {
    Start();
    int round = 0;
    constexpr milliseconds kEnough(2000);
    const auto quickest = QuickestOf(3, kEnough, [&] {
        const std::string name = "hang-" + std::to_string(++round);
        const auto hanging = Submit(name, "text", Urgency::kAhead);
        const auto behind = Submit("clean-2", "text", Urgency::kAhead);
        EXPECT_TRUE(HasBegun(name));
        EXPECT_FALSE(behind->IsFinished());
        const auto before = Clock::now();
        hanging->Abandon(true);
        EXPECT_EQ(Text(Await(*behind).outcome), "clean");
        const auto time = Clock::now() - before;
        EXPECT_EQ(Text(Await(*hanging).outcome), "stopped");
        return time;
    });
    EXPECT_LT(quickest, kEnough);
}

TEST_F(ScanPoolTest, WhatIsGivenUpWithoutForceGoesOnForNobody) {
    Start();
    EXPECT_EQ(Scan("clean-0"), "clean");
    const auto held = Submit("held-1", "text", Urgency::kAhead);
    ASSERT_TRUE(HasBegun("held-1"));
    // A worker is handed one batch more than it scans, and a batch has one profile: what is dropped
    // has not been handed out.
    const auto waiting = Submit("clean-2", "text", Urgency::kAhead);
    scanning::ScanProfile other;
    other.archives = true;
    const auto dropped = Submit("killshost-3", "text", Urgency::kAhead, other);
    const std::size_t processes = Noted("pids").size();
    dropped->Abandon(false);
    held->Abandon(false);
    LetGo();
    EXPECT_EQ(Scan("clean-4"), "clean");
    EXPECT_EQ(Text(Await(*waiting).outcome), "clean");
    EXPECT_EQ(Text(Await(*Submit("clean-5", "text", Urgency::kAhead, other)).outcome), "clean");
    EXPECT_EQ(Starts(), 1U) << "what was dropped was scanned";
    EXPECT_EQ(Noted("pids").size(), processes) << "a worker was replaced";
}

TEST_F(ScanPoolTest, CancellingEndsEveryWaitAtOnce) {
    int round = 0;
    constexpr milliseconds kEnough(1000);
    const auto quickest = QuickestOf(3, kEnough, [&] {
        Start();
        const std::string name = "hang-" + std::to_string(++round);
        const auto hanging = Submit(name);
        const auto waiting = Submit("clean-2");
        EXPECT_TRUE(HasBegun(name));
        const auto before = Clock::now();
        m_pool->Cancel();
        EXPECT_EQ(Text(Await(*hanging).outcome), "stopped");
        EXPECT_EQ(Text(Await(*waiting).outcome), "stopped");
        return Clock::now() - before;
    });
    EXPECT_LT(quickest, kEnough);
    EXPECT_EQ(Scan("clean-3"), "stopped");
    m_pool->Stop();
    EXPECT_TRUE(WaitUntil([this] { return Living() == 0; }));
}

TEST_F(ScanPoolTest, CancellingEndsTheLoading) {
    Script("load-forever\n");
    Start();
    EXPECT_FALSE(m_pool->WaitFor(milliseconds(200)));
    m_pool->Cancel();
    EXPECT_TRUE(m_pool->WaitFor(milliseconds(0)));
    EXPECT_FALSE(m_pool->IsLoaded());
}

}  // namespace
