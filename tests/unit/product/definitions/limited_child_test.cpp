#include "product/definitions/limited_child.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <vector>

#include "common/io.h"
#include "tests/support/patient_clock.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

// What the child that reads databases may and may not do.

namespace {

using definitions::ChildEnd;
using definitions::ChildLimits;
using definitions::RunLimited;

bool Always() {
    return true;
}

ChildEnd EndOf(const std::function<int(int)>& work, const ChildLimits& limits = {}) {
    return RunLimited(limits, work, Always).end;
}

TEST(LimitedChild, ItsWordsAndItsResultComeBack) {
    const auto fine = RunLimited(
        {}, [](int talk) { return common::WriteAll(talk, "done") ? 0 : 1; }, Always);
    EXPECT_EQ(fine.end, ChildEnd::kSucceeded);
    EXPECT_EQ(fine.said, "done");
    const auto failed = RunLimited(
        {}, [](int) { return 7; }, Always);
    EXPECT_EQ(failed.end, ChildEnd::kFailed);
    EXPECT_EQ(failed.status, 7);
    EXPECT_EQ(EndOf([](int) -> int { throw std::runtime_error("x"); }), ChildEnd::kFailed);
}

TEST(LimitedChild, WhatItSaysTooMuchIsCut) {
    const auto result = RunLimited(
        {}, [](int talk) { return common::WriteAll(talk, std::string(200000, 'x')) ? 0 : 1; },
        Always);
    EXPECT_EQ(result.end, ChildEnd::kSucceeded);
    EXPECT_EQ(result.said, std::string(65536, 'x'));
}

TEST(LimitedChild, ACrashIsTold) {
    const auto result = RunLimited(
        {}, [](int) { return ::raise(SIGSEGV); }, Always);
    EXPECT_TRUE(result.end == ChildEnd::kDied || result.end == ChildEnd::kFailed);
    const auto trapped = RunLimited(
        {},
        [](int) -> int {
            __builtin_trap();
            return 0;
        },
        Always);
    EXPECT_EQ(trapped.end, ChildEnd::kDied);
    EXPECT_EQ(trapped.why.substr(0, 19), "the check crashed: ");
}

TEST(LimitedChild, ChangesNoFile) {
    const ScratchFolder scratch;
    WriteFile(scratch / "file", "content");
    const std::string path = scratch / "file";
    const std::string other = scratch / "other";
    EXPECT_EQ(EndOf([&](int) {
                  const bool isReadable = ::open(path.c_str(), O_RDONLY) >= 0;
                  const std::vector<bool> changed{
                      ::open(path.c_str(), O_WRONLY) >= 0,
                      ::open(path.c_str(), O_RDWR) >= 0,
                      ::open(other.c_str(), O_RDONLY | O_CREAT, 0600) >= 0,
                      ::creat(other.c_str(), 0600) >= 0,
                      ::unlink(path.c_str()) == 0,
                      ::rename(path.c_str(), other.c_str()) == 0,
                      ::link(path.c_str(), other.c_str()) == 0,
                      ::symlink("x", other.c_str()) == 0,
                      ::mkdir(other.c_str(), 0700) == 0,
                      ::chmod(path.c_str(), 0777) == 0,
                      ::truncate(path.c_str(), 0) == 0,
                      ::mkfifo(other.c_str(), 0600) == 0,
                  };
                  return isReadable &&
                                 std::find(changed.begin(), changed.end(), true) == changed.end()
                             ? 0
                             : 1;
              }),
              ChildEnd::kSucceeded);
    EXPECT_EQ(ReadFile(path), "content");
    EXPECT_FALSE(Exists(other));
}

TEST(LimitedChild, ReachesNeitherNetworkNorProgramsNorProcesses) {
    const pid_t us = ::getpid();
    EXPECT_EQ(EndOf([&](int) {
                  char name[] = "true";
                  char* arguments[] = {name, nullptr};
                  const bool isConfined = ::socket(AF_INET, SOCK_STREAM, 0) < 0 &&
                                          ::socket(AF_UNIX, SOCK_STREAM, 0) < 0 &&
                                          ::execv("/bin/true", arguments) != 0 &&
                                          ::kill(us, SIGCONT) != 0 && ::fork() < 0 &&
                                          ::syscall(SYS_tgkill, us, us, SIGCONT) != 0 &&
                                          ::syscall(SYS_tkill, us, SIGCONT) != 0 &&
                                          ::syscall(SYS_tgkill, ::getpid(), ::getpid(), 0) == 0;
                  return isConfined ? 0 : 1;
              }),
              ChildEnd::kSucceeded);
}

// By the error: without the filter some of these fail, too.
TEST(LimitedChild, IsRefusedEveryOtherWayOutByTheKernel) {
    constexpr long kFchmodat2 = 452;
    const pid_t us = ::getpid();
    const auto refused = [](long call, auto... arguments) {
        return ::syscall(call, arguments...) == -1 && errno == EPERM;
    };
    siginfo_t info{};
    info.si_code = SI_QUEUE;
    EXPECT_EQ(EndOf([&](int) {
                  const std::array answers{
                      refused(SYS_rt_tgsigqueueinfo, us, us, SIGCONT, &info),
                      refused(SYS_clone, SIGCHLD, 0, 0, 0, 0),
                      refused(kFchmodat2, AT_FDCWD, "/missing", 0600, 0),
                      refused(SYS_lremovexattr, "/missing", "user.x"),
                      refused(SYS_fremovexattr, 0, "user.x"),
                      refused(SYS_mq_open, "corvane-test", O_RDONLY | O_CREAT, 0600, nullptr),
                      refused(SYS_mq_unlink, "corvane-test"),
                      refused(SYS_memfd_create, "x", 0),
                  };
                  const auto allowed = std::find(answers.begin(), answers.end(), false);
                  return allowed == answers.end() ? 0
                                                  : static_cast<int>(allowed - answers.begin()) + 1;
              }),
              ChildEnd::kSucceeded);
}

TEST(LimitedChild, HoldsNoDescriptorOfOurs) {
    const int ours = ::open("/dev/null", O_RDWR);
    ASSERT_GE(ours, 0);
    EXPECT_EQ(EndOf([&](int talk) {
                  for (int fd = 0; fd < 64; ++fd) {
                      if (fd > talk && ::fcntl(fd, F_GETFD) != -1) {
                          return 1;
                      }
                  }
                  return ::fcntl(ours, F_GETFD) == -1 || ours <= talk ? 0 : 1;
              }),
              ChildEnd::kSucceeded);
    ::close(ours);
}

TEST(LimitedChild, TooMuchMemoryFails) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's own memory does not fit below a limit";
#endif
    ChildLimits limits;
    limits.memory = std::uint64_t{256} << 20U;
    const auto take = [](std::size_t size) {
        return [size](int) {
            std::vector<char> memory(size, 'x');
            return memory.back() == 'x' ? 0 : 1;
        };
    };
    EXPECT_EQ(EndOf(take(std::size_t{16} << 20U), limits), ChildEnd::kSucceeded);
    EXPECT_EQ(EndOf(take(std::size_t{512} << 20U), limits), ChildEnd::kFailed);
}

TEST(LimitedChild, TooMuchWorkIsEnded) {
    ChildLimits limits;
    limits.processorSeconds = 1;
    const auto result = RunLimited(
        limits,
        [](int) -> int {
            volatile unsigned int count = 0;
            while (true) {
                count = count + 1;
            }
        },
        Always);
    EXPECT_EQ(result.end, ChildEnd::kDied);
    EXPECT_EQ(result.why, "the check used up its time");
}

TEST(LimitedChild, WhatTakesTooLongIsEnded) {
    ChildLimits limits;
    limits.wall = std::chrono::milliseconds(300);
    const auto result = RunLimited(
        limits, [](int) { return ::pause(); }, Always);
    EXPECT_EQ(result.end, ChildEnd::kTooSlow);
    EXPECT_EQ(result.why, "the check took too long");
}

TEST(LimitedChild, IsAskedForAndStoppedSoon) {
    int asked = 0;
    const auto begin = std::chrono::steady_clock::now();
    const auto patientBegin = PatientClock::now();
    const auto result = RunLimited(
        {}, [](int) { return ::pause(); }, [&] { return ++asked < 5; });
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(PatientClock::now() - patientBegin, std::chrono::seconds(3));
    EXPECT_EQ(result.end, ChildEnd::kStopped);
    EXPECT_EQ(asked, 5);
    EXPECT_GE(took, std::chrono::milliseconds(400));
}

TEST(LimitedChild, DiesWithUs) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t parent = StartChild([&] {
        RunLimited(
            {},
            [](int talk) {
                const pid_t self = ::getpid();
                return common::WriteAll(talk, common::BytesOf(self)) ? ::pause() : 1;
            },
            [&] {
                static bool isTold = false;
                if (!isTold) {
                    isTold = true;
                    (void)!::write(ends[1], "x", 1);
                }
                return true;
            });
        return 0;
    });
    char byte = 0;
    ASSERT_EQ(::read(ends[0], &byte, 1), 1);
    std::ifstream list("/proc/" + std::to_string(parent) + "/task/" + std::to_string(parent) +
                       "/children");
    pid_t child = 0;
    list >> child;
    ASSERT_GT(child, 0);
    ::kill(parent, SIGKILL);
    EXPECT_EQ(JoinChild(parent), -1);
    EXPECT_TRUE(WaitUntil([&] {
        const std::string state = ReadFile("/proc/" + std::to_string(child) + "/stat");
        return state.empty() || state.find(") Z ") != std::string::npos;
    }));
}

}  // namespace
