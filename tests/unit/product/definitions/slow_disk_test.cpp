#include <array>
#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>

#include "tests/unit/product/definitions/definitions_fixture.h"

// Installing on a disk that takes its time, and on one that fails.

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using definitions::InstallStep;
using definitions::Outcome;
using testing::ElementsAre;

// Shared with child processes. Like a real disk it is slow with what it has not got yet, and says
// only once of a file that it was lost.
struct Disk {
    std::atomic<int> milliseconds = 0;
    std::atomic<bool> fails = false;
    std::atomic<std::size_t> count = 0;
    std::array<std::atomic<ino_t>, 64> known{};

    bool IsNew(int fd) {
        struct stat status {};
        (void)::fstat(fd, &status);
        for (std::size_t i = 0; i < count; ++i) {
            if (known[i] == status.st_ino) {
                return false;
            }
        }
        known[count % known.size()] = status.st_ino;
        ++count;
        return true;
    }
};

Disk& TheDisk() {
    static Disk* const disk = new (::mmap(nullptr, sizeof(Disk), PROT_READ | PROT_WRITE,
                                          MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Disk;
    return *disk;
}

}  // namespace

extern "C" int __real_fsync(int fd);
extern "C" int __wrap_fsync(int fd) {
    Disk& disk = TheDisk();
    if (disk.milliseconds > 0 && disk.IsNew(fd)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(disk.milliseconds));
        if (disk.fails) {
            errno = EIO;
            return -1;
        }
    }
    return __real_fsync(fd);
}

namespace {

// Notes how long it is not asked, up to the switch.
class Watch : public Listener {
public:
    bool GoOn(InstallStep step) override {
        const auto now = Clock::now();
        if (!isSwitching) {
            longest = std::max(longest, now - last);
        }
        isSwitching = isSwitching || step == InstallStep::kSwitching;
        last = now;
        return Listener::GoOn(step) && now < stopAt;
    }

    Clock::time_point stopAt = Clock::time_point::max();
    Clock::time_point last = Clock::now();
    Clock::duration longest{};
    bool isSwitching = false;
};

class SlowDisk : public DefinitionsTest {
protected:
    void SetUp() override {
        ASSERT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
        PutIndexed(2, {{"own.ndb", OwnSignature('B'), 2}});
    }
    void TearDown() override { TheDisk().milliseconds = 0; }

    static void BeSlow(int milliseconds, bool fails = false) {
        TheDisk().count = 0;
        TheDisk().fails = fails;
        TheDisk().milliseconds = milliseconds;
    }
};

TEST_F(SlowDisk, TheListenerIsAskedAllTheTimeBeforeTheSwitch) {
    BeSlow(700);
    Watch watch;
    EXPECT_EQ(definitions::Install({m_candidate}, m_options, watch).outcome, Outcome::kInstalled);
    EXPECT_LT(watch.longest, 250ms);
    EXPECT_GT(TheDisk().count, 3U) << "files and folder, before the switch and at it";
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('B'));
}

// Whatever it waits for at the time: the copied file, the index, its signature, the version.
TEST_F(SlowDisk, AStopIsAnsweredAtOnce) {
    for (const auto after : {200ms, 900ms, 1600ms, 2300ms}) {
        BeSlow(700);
        Watch watch;
        watch.stopAt = Clock::now() + after;
        EXPECT_EQ(definitions::Install({m_candidate}, m_options, watch).outcome, Outcome::kStopped);
        EXPECT_LT(Clock::now() - watch.stopAt, 300ms);
        EXPECT_THAT(Names(), ElementsAre("current", "set-1"));
    }
}

TEST_F(SlowDisk, WhatItHasLostIsNotPutIntoUse) {
    BeSlow(1, true);
    const auto result = Install();
    EXPECT_EQ(result.outcome, Outcome::kFailed);
    EXPECT_EQ(result.why, "own.ndb cannot be written: Input/output error");
    EXPECT_THAT(Names(), ElementsAre("current", "set-1"));
}

}  // namespace
