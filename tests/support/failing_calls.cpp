#include "tests/support/failing_calls.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

// These stand before those of the C library for everything that is linked into this program.

namespace {

struct Fault {
    int error = 0;
    int callsLeft = 0;
};
std::array<Fault, 4> g_faults;

bool Fails(Call call) {
    Fault& fault = g_faults.at(static_cast<std::size_t>(call));
    if (fault.callsLeft == 0 || --fault.callsLeft != 0) {
        return false;
    }
    errno = fault.error;
    return true;
}

int Result(long result) {
    return static_cast<int>(result);
}

}  // namespace

void FailCall(Call call, int error, int nth) {
    g_faults.at(static_cast<std::size_t>(call)) = {error, nth};
}

bool IsStillToFail(Call call) {
    return g_faults.at(static_cast<std::size_t>(call)).callsLeft > 0;
}

void FailNothing() {
    g_faults = {};
}

extern "C" {

int fsync(int fd) {
    return Fails(Call::kFsync) ? -1 : Result(::syscall(SYS_fsync, fd));
}

// The descriptor is let go all the same, as Linux does.
int close(int fd) {
    const bool fails = Fails(Call::kClose);
    const int error = errno;
    const int result = Result(::syscall(SYS_close, fd));
    if (fails) {
        errno = error;
        return -1;
    }
    return result;
}

int fallocate(int fd, int mode, off_t offset, off_t length) {
    return Fails(Call::kFallocate) ? -1
                                   : Result(::syscall(SYS_fallocate, fd, mode, offset, length));
}

int ftruncate(int fd, off_t length) noexcept {
    return Fails(Call::kFtruncate) ? -1 : Result(::syscall(SYS_ftruncate, fd, length));
}
}
