#pragma once

#include <cstddef>
#include <cstdint>

// Mutexes between processes, by name: the mutex is held while the System V message queue with the
// name's number as its key exists. Nobody notices a dead owner: the queue that it leaves behind
// keeps everybody out until somebody removes it.

/// A mutex that is or was held.
struct tagMUTEX_INFO {
    std::int32_t queueId;  ///< of the message queue; -1 when released
    char key[64];          ///< the name it was taken with
};
static_assert(offsetof(tagMUTEX_INFO, queueId) == 0);
static_assert(offsetof(tagMUTEX_INFO, key) == 4);

/// Takes the mutex named `key`, a decimal number from 1 up; tries `retries` times more, a second
/// apart, while somebody else holds it. It is not re-entrant: an owner that takes it again waits
/// like anybody else.
///
/// 1 with `mutex` filled in; 0 for a null pointer, a name that is no such number, a mutex that
/// stays held, a queue that cannot be made, and when EndMutexWaits was called. Any thread.
int GetMutexOwnerShip(const char* key, tagMUTEX_INFO* mutex, int retries);

/// Gives the mutex back. 1 with its identifier -1; 0 for a null pointer and when its queue cannot
/// be removed. Any thread.
int ReleaseMutexOwnerShip(tagMUTEX_INFO* mutex);

/// For the end of the process: every wait of GetMutexOwnerShip, under way or to come, fails at
/// once. A mutex that is free can still be taken. Any thread, not a signal handler.
void EndMutexWaits();
