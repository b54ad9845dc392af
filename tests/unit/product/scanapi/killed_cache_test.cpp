// A program that is killed or refused at each of its system calls while it adds to the verdict
// cache: what was remembered before still is, or the whole is dropped; nothing else is believed.

#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>

#include "tests/support/scratch.h"
#include "tests/support/traced_program.h"
#include "tests/unit/product/scanapi/verdict_fixture.h"

namespace {

namespace fs = std::filesystem;

class KilledCache : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "writes /zqcommon.log: runs in tests/support/sandbox only";
        }
        if (!CanTrace()) {
            GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
        }
        g_clock = {kNoon, 9};
    }
    // What is traced.
    [[nodiscard]] std::vector<std::string> Adding() const {
        return {REMEMBER_SOME, m_cache, "1001", "1100"};
    }
    void Add(int first, int last) const {
        std::string why;
        const auto file = scanapi::VerdictFile::Open(m_cache, 20'000, why);
        ASSERT_TRUE(file) << why;
        EXPECT_TRUE(file->Append(
            BasisOf('b'), kNoon,
            RecordsOf(static_cast<std::uint64_t>(first), static_cast<std::uint64_t>(last))));
    }
    // Files 1 to `last` are remembered, and nothing else is.
    void Reset(int last) const {
        fs::remove_all(m_cache);
        if (last > 0) {
            Add(1, last);
        }
    }
    [[nodiscard]] bool IsKnown(std::uint64_t number) const {
        scanapi::VerdictCache cache(m_cache, {true, 20'000}, BasisOf('b'), TestClock);
        return cache.Find(FileOf(number), "a", {}).has_value();
    }
    [[nodiscard]] std::size_t Count() const {
        scanapi::VerdictCache cache(m_cache, {true, 20'000}, BasisOf('b'), TestClock);
        return cache.Count();
    }
    // Adds 100 files to `before` others with something done to each call; how often the new ones
    // are there afterwards.
    void TryAll(const std::string& what, int before, std::size_t kept) const {
        Reset(before);
        ASSERT_EQ(RunTraced({"-o", m_folder / "trace"}, Adding()), 0);
        const auto calls =
            MarkedCallsIn(m_folder / "trace", [](std::string_view name, std::string_view line) {
                return ChangesFiles(name, line) || name == "flock" || name == "lseek" ||
                       name == "read";
            });
        ASSERT_GT(calls.size(), 4U);
        int added = 0;
        int notAdded = 0;
        for (const SystemCall& call : calls) {
            SCOPED_TRACE(call.Injecting(what));
            Reset(before);
            (void)RunInjected(call, what, Adding());
            const std::size_t count = Count();
            const bool isAdded = IsKnown(1100);
            // What could not be read makes room for the new ones alone.
            EXPECT_TRUE(isAdded ? count == kept || count == 100
                                : count == static_cast<std::size_t>(before))
                << count;
            (isAdded ? added : notAdded) += 1;
            // Whatever is left there, the next one is kept.
            Add(2001, 2010);
            EXPECT_TRUE(IsKnown(2010));
            EXPECT_FALSE(Exists(m_cache + "/verdicts.new"));
        }
        std::cout << what << " at " << calls.size() << " calls: added after " << added << "\n";
        EXPECT_GT(notAdded, 2);
    }
    ScratchFolder m_folder;
    std::string m_cache = m_folder / "cache";
};

TEST_F(KilledCache, TheFirstIsThereOrNot) {
    TryAll("signal=KILL", 0, 100);
}

TEST_F(KilledCache, WhatIsThereStays) {
    TryAll("signal=KILL", 100, 200);
}

TEST_F(KilledCache, WhatIsFullKeepsItsOldOrGetsItsNew) {
    // Of the 200 in one batch none fits into half of the room beside the new ones.
    TryAll("signal=KILL", 200, 100);
}

TEST_F(KilledCache, NoCallThatFailsDoesHarm) {
    TryAll("error=ENOSPC", 0, 100);
    TryAll("error=EIO", 100, 200);
    TryAll("error=ENOSPC", 200, 100);
}

}  // namespace
