#include "tests/support/protected_folders.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

bool isProtecting = false;

bool IsRefused(int directory, const char* path, int flags) {
    struct stat status {};
    if (!isProtecting || (flags & O_CREAT) == 0 || (flags & O_EXCL) != 0 ||
        ::fstatat(directory, path, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    errno = EACCES;
    return true;
}

}  // namespace

ProtectedFolders::ProtectedFolders() {
    isProtecting = true;
}

ProtectedFolders::~ProtectedFolders() {
    isProtecting = false;
}

// What the linker puts in the place of the two, and where it puts the C library's own. Theirs take
// the mode only if a file may be created; passing on what then lies in its place does no harm.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __real_openat(int directory, const char* path, int flags, ...);

extern "C" int __wrap_openat(int directory, const char* path, int flags, mode_t mode) {
    return IsRefused(directory, path, flags) ? -1 : __real_openat(directory, path, flags, mode);
}

extern "C" int __wrap_open(const char* path, int flags, mode_t mode) {
    return __wrap_openat(AT_FDCWD, path, flags, mode);
}
// NOLINTEND(bugprone-reserved-identifier)
