#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <sys/types.h>

// Mutexes between processes, by name: the mutex is held while the System V message queue with the
// name's number as its key exists. Nobody notices a dead owner: the queue that it leaves behind
// keeps everybody out until somebody removes it.
//
// A name is a decimal number from 1 to 2147483647, digits only and at most 63 of them. Anything
// else is no name, and no queue is touched for it. Any thread may call.

/// A mutex that is or was held.
struct tagMUTEX_INFO {
    std::int32_t queueId;  ///< of the message queue; -1 when released
    char key[64];          ///< the name it was taken with
};
static_assert(sizeof(tagMUTEX_INFO) == 68);
static_assert(offsetof(tagMUTEX_INFO, queueId) == 0);
static_assert(offsetof(tagMUTEX_INFO, key) == 4);

/// Takes the mutex named `key`; tries `retries` times more (below 0 counts as 0), a second apart,
/// while somebody else holds it. It is not re-entrant: an owner that takes it again waits like
/// anybody else.
///
/// 1 with `mutex` filled in; 0, with `mutex` as it was, for a null pointer, for what is no name, a
/// mutex that stays held, a queue that cannot be made, and when EndMutexWaits was called.
int GetMutexOwnerShip(const char* key, tagMUTEX_INFO* mutex, int retries);

/// Gives the mutex back. 1 with its identifier -1; 0 for a null pointer and when its queue cannot
/// be removed.
int ReleaseMutexOwnerShip(tagMUTEX_INFO* mutex);

namespace common {

/// For the end of the process: every wait of GetMutexOwnerShip, under way or to come, fails at
/// once. A mutex that is free can still be taken. Not for a signal handler.
void EndMutexWaits();

/// A queue that stands for a held mutex.
struct NamedMutexState {
    int queueId;
    uid_t owner;
    std::time_t made;  ///< seconds since 1970
};

/// For an administrator's tool: whether the mutex named `key` is held, by whomever. None when it is
/// free or `key` is no name, and when the system does not tell.
std::optional<NamedMutexState> FindNamedMutex(const char* key);

/// Removes a queue that a dead owner has left behind; the next who waits takes the mutex.
///
/// False when it could not, with the reason in errno: EIDRM or EINVAL when that queue is gone
/// (one made anew since then is left alone), EACCES or EPERM when it is somebody else's.
bool RemoveNamedMutex(const NamedMutexState& state);

}  // namespace common
