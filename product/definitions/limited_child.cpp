#include "product/definitions/limited_child.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/retrying.h"
#include "product/definitions/read_only_process.h"

namespace definitions {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxSaid = std::size_t{64} * 1024;
constexpr int kTick = 100;  // milliseconds between two questions whether to go on
constexpr int kTalkDescriptor = 3;
constexpr rlim_t kMaxDescriptors = 64;
constexpr int kExitUnlimited = 120;  // the limits could not be set

// A sanitizer's own memory does not fit below any sensible limit.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kLimitsMemory = false;
#else
constexpr bool kLimitsMemory = true;
#endif

bool Limit(__rlimit_resource_t resource, rlim_t most) {
    const rlimit limit{most, most};
    return ::setrlimit(resource, &limit) == 0;
}

bool KeepNothingBut(int talk) {
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    return nowhere >= 0 && ::dup2(nowhere, STDIN_FILENO) >= 0 &&
           ::dup2(nowhere, STDOUT_FILENO) >= 0 && ::dup2(nowhere, STDERR_FILENO) >= 0 &&
           (talk == kTalkDescriptor || ::dup2(talk, kTalkDescriptor) >= 0) &&
           ::syscall(SYS_close_range, kTalkDescriptor + 1, ~0U, 0) == 0;
}

bool Confine(const ChildLimits& limits, pid_t parent) {
    // Asked for before the parent is looked at: it may die at any moment.
    return ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::getppid() == parent &&
           Limit(RLIMIT_CORE, 0) && Limit(RLIMIT_FSIZE, 0) &&
           Limit(RLIMIT_NOFILE, kMaxDescriptors) && Limit(RLIMIT_CPU, limits.processorSeconds) &&
           (!kLimitsMemory || Limit(RLIMIT_AS, limits.memory)) && BecomeReadOnly();
}

[[noreturn]] void BeChild(const ChildLimits& limits, pid_t parent, int talk,
                          const std::function<int(int)>& work) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGABRT, SIGSEGV}) {
        (void)::signal(signal, SIG_DFL);  // not the parent's way of ending
    }
    int status = kExitUnlimited;
    if (KeepNothingBut(talk) && Confine(limits, parent)) {
        try {
            status = work(kTalkDescriptor);
        } catch (const std::exception&) {
            status = 1;
        }
    }
    ::_exit(status);
}

// True once the child has closed its end.
bool Listen(int talk, std::string& said) {
    pollfd waiting{talk, POLLIN, 0};
    if (::poll(&waiting, 1, kTick) <= 0) {
        return false;
    }
    std::array<char, 4096> buffer{};
    const ssize_t got = ::read(talk, buffer.data(), buffer.size());
    if (got > 0) {
        said.append(buffer.data(), std::min(static_cast<std::size_t>(got), kMaxSaid - said.size()));
    }
    return got == 0 || (got < 0 && errno != EINTR && errno != EAGAIN);
}

int EndOf(pid_t child) {
    int status = 0;
    (void)common::Retrying([&] { return ::waitpid(child, &status, 0); });
    return status;
}

void Judge(int status, ChildResult& result) {
    if (WIFSIGNALED(status)) {
        result.end = ChildEnd::kDied;
        result.why = WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL
                         ? "the check used up its time"
                         : std::string("the check crashed: ") + ::strsignal(WTERMSIG(status));
    } else if (WEXITSTATUS(status) == kExitUnlimited) {
        result.end = ChildEnd::kNotStarted;
        result.why = "the check could not be confined";
    } else {
        result.status = WEXITSTATUS(status);
        result.end = result.status == 0 ? ChildEnd::kSucceeded : ChildEnd::kFailed;
    }
}

}  // namespace

ChildResult RunLimited(const ChildLimits& limits, const std::function<int(int)>& work,
                       const GoOn& goOn) {
    ChildResult result;
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        result.why = std::strerror(errno);
        return result;
    }
    common::FileDescriptor talk(ends[0]);
    common::FileDescriptor childTalk(ends[1]);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) {
        result.why = std::strerror(errno);
        return result;
    }
    if (child == 0) {
        BeChild(limits, parent, childTalk.Get(), work);
    }
    childTalk.Reset();
    const auto deadline = std::min<Clock::time_point>(Clock::now() + limits.wall, limits.end);
    while (!Listen(talk.Get(), result.said)) {
        const bool isStopped = !goOn();
        if (isStopped || Clock::now() >= deadline) {
            (void)::kill(child, SIGKILL);
            (void)EndOf(child);
            result.end = isStopped ? ChildEnd::kStopped : ChildEnd::kTooSlow;
            result.why = isStopped ? "stopped" : "the check took too long";
            return result;
        }
    }
    Judge(EndOf(child), result);
    return result;
}

}  // namespace definitions
