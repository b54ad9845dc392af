#pragma once

#include <string>

#include "product/definitions/install.h"
#include "product/definitions/update_lock.h"

namespace definitions {

/// A system error in words: a full disk in our own, for people read them.
std::string WordsForError(int error);

inline InstallResult Succeeded() {
    return {Outcome::kInstalled, {}, 0};
}
inline InstallResult Result(Outcome outcome, std::string why) {
    return {outcome, std::move(why), 0};
}

/// kFailed, with `what` and the reason in errno.
InstallResult FailedToDo(const std::string& what);

/// What is told of a lock that is not held.
InstallResult LockedBy(const UpdateLock& lock);

/// What follows from the end of a child that did not do what it should: Outcome::kRefused for what
/// lies at the databases.
InstallResult ResultOfChild(ChildEnd end, const std::string& why);

}  // namespace definitions
