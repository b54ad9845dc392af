#include "tests/support/pretended_user.h"

#include <sys/syscall.h>
#include <unistd.h>

// Stands before the C library's own for everything that is linked into this program.
extern "C" uid_t getuid() noexcept {
    return PretendedUser::Now() ? *PretendedUser::Now() : static_cast<uid_t>(::syscall(SYS_getuid));
}

std::optional<uid_t>& PretendedUser::Now() {
    static std::optional<uid_t> now;
    return now;
}
