#pragma once

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "common/named_mutex.h"

/// A mutex of the virus log that some process holds, or held when it died.
struct HeldLock {
    const char* key;  ///< its name; lives as long as the program
    common::NamedMutexState state;
};

/// The mutexes of the virus log that are held now, in the order in which they are taken.
std::vector<HeldLock> FindHeldLocks();

/// Whether `lock` is among `locks`, held without a break.
bool IsAmong(const HeldLock& lock, const std::vector<HeldLock>& locks);

/// Says on standard error which lock of `before` is held still, as that it is waited for; nothing
/// when none is.
void TellOfHeldLock(const std::vector<HeldLock>& before);

/// "alice", or "user 1234" when that user has no name.
std::string OwnerName(uid_t owner);

/// As in `lock "10022" (queue 7), taken by alice at 2026-03-05 07:04:09, 2 minutes ago`; `now` is
/// in seconds since 1970, the time shown is local.
std::string Describe(const HeldLock& lock, std::time_t now);

/// "1 second", "59 seconds", "2 minutes", ... in the largest unit that is full.
std::string AgeText(std::time_t seconds);
