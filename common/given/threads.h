#pragma once

#include <pthread.h>

/// Starts a thread that runs `start(argument)`.
///
/// It is detached unless `joinable` is 1, when the caller has to join it. `priority`, `stackSize`
/// and `creationFlags` are accepted and ignored. Returns the thread's id, or 0 when `start` is null
/// or the thread could not be started. Any thread.
pthread_t MyAfxBeginThread(void* (*start)(void*), void* argument, int priority = 0,
                           unsigned int stackSize = 0, unsigned int creationFlags = 0,
                           int joinable = 0);
