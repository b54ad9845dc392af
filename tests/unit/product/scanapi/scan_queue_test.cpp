#include "product/scanapi/scan_queue.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "product/scanapi/engine_log.h"
#include "product/scanapi/shared_memory.h"
#include "tests/support/scratch.h"

namespace {

using scanapi::PendingScan;
using scanapi::Scans;
using scanapi::Urgency;
using scanapi::Wakeup;
using Names = std::vector<std::string>;

class ScanQueueTest : public testing::Test {
protected:
    std::shared_ptr<PendingScan> Add(const std::string& name, std::size_t size = 10,
                                     Urgency urgency = Urgency::kNow,
                                     const scanning::ScanProfile& profile = {}) {
        const std::string path = m_folder / name;
        WriteFile(path, std::string(size, 'x'));
        EngineOpenStatus status = kOpenFailed;
        auto scan = std::make_shared<PendingScan>(scanapi::TargetFile::Open(path.c_str(), status),
                                                  profile, urgency, m_wakeup);
        m_queue.Add(scan);
        return scan;
    }
    static Names NamesOf(const Scans& scans) {
        Names names;
        for (const auto& scan : scans) {
            names.push_back(scan->File().BaseName());
        }
        return names;
    }
    Names Take(std::size_t workers = 1) { return NamesOf(m_queue.TakeBatch(workers)); }

    ScratchFolder m_folder;
    std::shared_ptr<Wakeup> m_wakeup = std::make_shared<Wakeup>();
    scanapi::ScanQueue m_queue;
};

TEST_F(ScanQueueTest, SmallFilesGoTogetherAndLargerOnesAlone) {
    Add("a", 100'000);
    Add("b", 162'144);
    Add("c", 1);
    Add("d", 300'000);
    Add("e", 5'000'000);
    Add("f", 262'143);
    EXPECT_EQ(Take(), (Names{"a", "b"}));
    EXPECT_EQ(Take(), (Names{"c"}));
    EXPECT_EQ(Take(), (Names{"d"}));
    EXPECT_EQ(Take(), (Names{"e"}));
    EXPECT_EQ(Take(), (Names{"f"}));
    EXPECT_EQ(Take(), (Names{}));
}

TEST_F(ScanQueueTest, ThirtyTwoAtMost) {
    for (int i = 0; i < 33; ++i) {
        Add("f" + std::to_string(i), 0);
    }
    EXPECT_EQ(Take().size(), 32U);
    EXPECT_EQ(Take(), (Names{"f32"}));
}

TEST_F(ScanQueueTest, AWorkerGetsItsShareOfWhatWaits) {
    for (int i = 0; i < 10; ++i) {
        Add("f" + std::to_string(i));
    }
    EXPECT_EQ(Take(4), (Names{"f0", "f1", "f2"}));
    EXPECT_EQ(Take(4), (Names{"f3", "f4"}));
    EXPECT_EQ(Take(64), (Names{"f5"})) << "one is always taken";
    EXPECT_EQ(Take(2), (Names{"f6", "f7"}));
    Add("ahead", 10, Urgency::kAhead);
    EXPECT_EQ(Take(1), (Names{"f8", "f9"})) << "those ahead are no part of it";
    EXPECT_EQ(Take(4), (Names{"ahead"}));
}

TEST_F(ScanQueueTest, OneProfileAtATime) {
    const scanning::ScanProfile other{.archives = true};
    Add("a");
    Add("b", 10, Urgency::kNow, other);
    Add("c", 10, Urgency::kNow, other);
    Add("d");
    EXPECT_EQ(Take(), (Names{"a"}));
    EXPECT_EQ(Take(), (Names{"b", "c"}));
    EXPECT_EQ(Take(), (Names{"d"}));
}

TEST_F(ScanQueueTest, WhatSomebodyWaitsForComesFirst) {
    Add("ahead1", 10, Urgency::kAhead);
    Add("now1");
    Add("ahead2", 10, Urgency::kAhead);
    Add("now2");
    EXPECT_EQ(Take(), (Names{"now1", "now2"}));
    EXPECT_EQ(Take(), (Names{"ahead1", "ahead2"}));
}

// Alone, so that it is known of each whether it ends a worker.
TEST_F(ScanQueueTest, WhatIsPutBackComesBeforeTheRestInItsOrderAndEachAlone) {
    Add("a");
    Add("b");
    Scans taken = m_queue.TakeBatch(1);
    Add("c");
    Add("d");
    m_queue.PutBack(std::move(taken));
    EXPECT_EQ(Take(), (Names{"a"}));
    EXPECT_EQ(Take(), (Names{"b"}));
    EXPECT_EQ(Take(), (Names{"c", "d"}));
}

TEST_F(ScanQueueTest, WhatWasGivenUpIsNotTaken) {
    Add("a");
    const auto dropped = Add("b");
    Add("c");
    dropped->Abandon(false);
    EXPECT_EQ(Take(), (Names{"a", "c"}));
    EXPECT_TRUE(dropped->IsFinished());
    EXPECT_EQ(dropped->TakeOutcome().verdict, scanning::Verdict::Stopped);
}

TEST_F(ScanQueueTest, ClosedItFinishesWhatWaitsAndWhatComes) {
    const auto waits = Add("a");
    const auto ahead = Add("b", 10, Urgency::kAhead);
    const auto underWay = Add("c");
    Scans taken = {underWay};
    scanning::ScanOutcome outcome;
    outcome.reason = "why";
    m_queue.Close(outcome);
    m_queue.PutBack(std::move(taken));
    const auto comes = Add("d");
    for (const auto& scan : {waits, ahead, underWay, comes}) {
        EXPECT_TRUE(scan->IsFinished());
        const auto result = scan->TakeOutcome();
        EXPECT_EQ(result.verdict, scanning::Verdict::Unreadable);
        EXPECT_EQ(result.reason, "why");
    }
    EXPECT_EQ(Take(), (Names{}));
    m_queue.Open();
    Add("e");
    EXPECT_EQ(Take(), (Names{"e"}));
}

TEST(SharedMemoryTest, WhoOnlyReadsCanDoNothingToIt) {
    const scanapi::SharedMemory memory("test", 8192, scanapi::SharedMemory::Other::kReads);
    ASSERT_TRUE(memory);
    ASSERT_EQ(memory.Bytes().size(), 8192U);
    const int theirs = memory.Descriptor();
    EXPECT_EQ(::mmap(nullptr, 8192, PROT_READ | PROT_WRITE, MAP_SHARED, theirs, 0), MAP_FAILED);
    EXPECT_EQ(::pwrite(theirs, "x", 1, 0), -1);
    EXPECT_EQ(::ftruncate(theirs, 0), -1);
    EXPECT_EQ(::ftruncate(theirs, 100'000), -1);
    EXPECT_EQ(::fallocate(theirs, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, 4096), -1);
    EXPECT_EQ(::fcntl(theirs, F_ADD_SEALS, F_SEAL_WRITE), -1);
    memory.Bytes()[5] = std::byte{7};
    char read = 0;
    EXPECT_EQ(::pread(theirs, &read, 1, 5), 1);
    EXPECT_EQ(read, 7);
}

TEST(SharedMemoryTest, WhoWritesCannotTakeItAway) {
    const scanapi::SharedMemory memory("test", 4096, scanapi::SharedMemory::Other::kWrites);
    ASSERT_TRUE(memory);
    EXPECT_EQ(::pwrite(memory.Descriptor(), "x", 1, 0), 1);
    EXPECT_EQ(memory.Bytes()[0], std::byte{'x'});
    EXPECT_EQ(::ftruncate(memory.Descriptor(), 0), -1);
}

}  // namespace
