#include "product/definitions/watched_sync.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/retrying.h"

namespace definitions {

namespace {

constexpr int kTick = 50;  // milliseconds between two questions whether to go on
constexpr int kFirstFree = 3;
constexpr int kNotBegun = 255;  // the end of a child; larger than every number of an error

enum class Flushed { kDone, kFailed, kStopped };

/// Holds nothing of its parent's open but the file: nobody is to wait for it. Ends with 0, the
/// number of the disk's error, or kNotBegun.
[[noreturn]] void Flush(int file, int end) {
    const int own = ::fcntl(file, F_DUPFD, kFirstFree);
    const int ownEnd = ::fcntl(end, F_DUPFD, kFirstFree);
    const bool isAlone = ::dup2(own, STDIN_FILENO) >= 0 && ::dup2(ownEnd, STDOUT_FILENO) >= 0 &&
                         ::syscall(SYS_close_range, STDERR_FILENO, ~0U, 0) == 0;
    if (!isAlone) {
        ::_exit(kNotBegun);
    }
    ::_exit(common::Retrying([] { return ::fsync(STDIN_FILENO); }) == 0 ? 0 : errno);
}

/// Has a child do it: a process that waits for a disk answers nobody, and could not be ended
/// either. Where there can be no such child it is for the caller to wait. Of a failure the reason
/// is in errno.
Flushed FlushInChild(int file, const GoOn& goOn) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return Flushed::kDone;
    }
    const common::FileDescriptor end(ends[0]);
    common::FileDescriptor childEnd(ends[1]);
    const pid_t child = ::fork();
    if (child == 0) {
        Flush(file, childEnd.Get());
    }
    childEnd.Reset();
    if (child < 0) {
        return Flushed::kDone;
    }
    pollfd ended{end.Get(), POLLIN, 0};
    while (::poll(&ended, 1, kTick) <= 0) {
        if (!goOn()) {
            (void)::kill(child, SIGKILL);
            (void)::waitpid(child, nullptr, WNOHANG);  // which the disk may keep for long
            return Flushed::kStopped;
        }
    }
    int status = 0;
    (void)common::Retrying([&] { return ::waitpid(child, &status, 0); });
    if (!WIFEXITED(status) || WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == kNotBegun) {
        return Flushed::kDone;
    }
    errno = WEXITSTATUS(status);
    return Flushed::kFailed;
}

}  // namespace

bool SyncWatched(int file, const GoOn& goOn) {
    if (goOn) {
        switch (FlushInChild(file, goOn)) {
            case Flushed::kDone:
                break;
            case Flushed::kFailed:
                return false;  // the same file is not told twice what was lost of it
            case Flushed::kStopped:
                errno = ECANCELED;
                return false;
        }
    }
    return common::Retrying([&] { return ::fsync(file); }) == 0;
}

}  // namespace definitions
