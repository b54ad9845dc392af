#include "product/definitions/reasons.h"

#include <cerrno>
#include <cstring>

namespace definitions {

std::string WordsForError(int error) {
    return error == ENOSPC || error == EDQUOT || error == EFBIG
               ? "there is no room left on the disk"
               : std::strerror(error);
}

InstallResult FailedToDo(const std::string& what) {
    return Result(Outcome::kFailed, what + ": " + WordsForError(errno));
}

InstallResult LockedBy(const UpdateLock& lock) {
    if (lock.Error() != 0) {
        errno = lock.Error();
        return FailedToDo("the lock of the definitions cannot be used");
    }
    InstallResult result = Result(Outcome::kLocked, "another process changes the definitions");
    result.holder = lock.Holder();
    return result;
}

InstallResult ResultOfChild(ChildEnd end, const std::string& why) {
    switch (end) {
        case ChildEnd::kSucceeded:
            return Succeeded();
        case ChildEnd::kStopped:
            return Result(Outcome::kStopped, "stopped");
        case ChildEnd::kNotStarted:
            return Result(Outcome::kFailed, why);
        case ChildEnd::kFailed:
        case ChildEnd::kDied:
        case ChildEnd::kTooSlow:
            break;
    }
    return Result(Outcome::kRefused, why);
}

}  // namespace definitions
