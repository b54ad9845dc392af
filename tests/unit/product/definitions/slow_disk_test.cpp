#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <new>
#include <optional>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <utility>

#include "product/definitions/watched_sync.h"
#include "tests/support/patient_clock.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

// Installing on a disk that takes its time, and on one that fails.

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;
using definitions::InstallStep;
using definitions::Outcome;
using testing::ElementsAre;

// Shared with child processes. Like a real disk it is slow with what it has not got yet, and says
// only once of a file that it was lost.
struct Disk {
    std::atomic<int> milliseconds = 0;
    std::atomic<std::size_t> onlyAt = 0;  // slow with this one alone, the first is 1; 0: with all
    std::atomic<int> error = 0;
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
        if (disk.onlyAt == 0 || disk.onlyAt == disk.count) {
            std::this_thread::sleep_for(std::chrono::milliseconds(disk.milliseconds));
        }
        if (disk.error != 0) {
            errno = disk.error;
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
        const auto now = PatientClock::now();
        if (!isSwitching) {
            longest = std::max(longest, now - last);
        }
        isSwitching = isSwitching || step == InstallStep::kSwitching;
        last = now;
        if (!stopped && stopAtFlush > 0 && TheDisk().count >= stopAtFlush) {
            stopped = now;
        }
        return Listener::GoOn(step) && !stopped;
    }

    std::size_t stopAtFlush = 0;  // never
    std::optional<PatientClock::time_point> stopped;
    PatientClock::time_point last = PatientClock::now();
    PatientClock::duration longest{};
    bool isSwitching = false;
};

class SlowDisk : public DefinitionsTest {
protected:
    void SetUp() override {
        ASSERT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
        PutIndexed(2, {{"own.ndb", OwnSignature('B'), 2}});
    }
    void TearDown() override {
        TheDisk().milliseconds = 0;
        TheDisk().onlyAt = 0;
    }

    static void BeSlow(int milliseconds, int error = 0) {
        TheDisk().count = 0;
        TheDisk().error = error;
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
    for (const std::size_t flush : {1U, 2U, 3U, 4U}) {
        BeSlow(60'000);
        TheDisk().onlyAt = flush;
        Watch watch;
        watch.stopAtFlush = flush;
        EXPECT_EQ(definitions::Install({m_candidate}, m_options, watch).outcome, Outcome::kStopped);
        ASSERT_TRUE(watch.stopped);
        EXPECT_LT(PatientClock::now() - *watch.stopped, 300ms);
        EXPECT_THAT(Names(), ElementsAre("current", "set-1"));
    }
}

TEST_F(SlowDisk, WhatItHasLostIsNotPutIntoUse) {
    for (const auto& [error, words] : {std::pair(EIO, "Input/output error"),
                                       std::pair(ENOSPC, "there is no room left on the disk"),
                                       std::pair(EDQUOT, "there is no room left on the disk")}) {
        BeSlow(1, error);
        const auto result = Install();
        EXPECT_EQ(result.outcome, Outcome::kFailed);
        EXPECT_EQ(result.why, std::string("own.ndb cannot be written: ") + words);
        EXPECT_THAT(Names(), ElementsAre("current", "set-1"));
    }
}

// What keeps a child from its work, done to a process of its own; 0 and what the caller does then.
class NoWatchedDisk : public SlowDisk {
protected:
    static constexpr int kPrepared = 200;

    // Of a flush with this error of the disk: 0 or the number of the error.
    int FlushAfter(const std::function<bool(int)>& prepare, int error) {
        const common::FileDescriptor file(
            ::open((m_scratch / "file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        BeSlow(1, error);
        return InChild([&] {
            if (!prepare(file.Get())) {
                return kPrepared;
            }
            return definitions::SyncWatched(file.Get(), [] { return true; }) ? 0 : errno;
        });
    }

    void ExpectTheCallerFlushes(const std::function<bool(int)>& prepare) {
        EXPECT_EQ(FlushAfter(prepare, 0), 0);
        EXPECT_EQ(TheDisk().count, 1U);
        EXPECT_EQ(FlushAfter(prepare, ENOSPC), ENOSPC);
    }
};

// A kernel, or a container around it, that lacks the call answers so.
TEST_F(NoWatchedDisk, WithoutTheCallThatClosesDescriptorsTheCallerFlushes) {
    ExpectTheCallerFlushes([](int) {
        std::array<sock_filter, 4> code{{
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_close_range, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        }};
        const sock_fprog filter{code.size(), code.data()};
        return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
               ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
    });
}

TEST_F(NoWatchedDisk, WithoutADescriptorLeftForTheChildTheCallerFlushes) {
    ExpectTheCallerFlushes([](int file) {
        const rlimit limit{64, 64};
        const bool isFine = ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
        int last = file;
        for (int next = file; isFine && next >= 0; next = ::dup(file)) {
            last = next;
        }
        // The two that the caller itself needs.
        return isFine && ::close(last) == 0 && ::close(last - 1) == 0;
    });
}

}  // namespace
