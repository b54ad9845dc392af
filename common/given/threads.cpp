#include "common/given/threads.h"

pthread_t MyAfxBeginThread(void* (*start)(void*), void* argument, int /*priority*/,
                           unsigned int /*stackSize*/, unsigned int /*creationFlags*/,
                           int joinable) {
    if (start == nullptr) {
        return 0;
    }
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) {
        return 0;
    }
    pthread_attr_setdetachstate(&attributes,
                                joinable == 1 ? PTHREAD_CREATE_JOINABLE : PTHREAD_CREATE_DETACHED);
    pthread_t thread = 0;
    if (pthread_create(&thread, &attributes, start, argument) != 0) {
        thread = 0;
    }
    pthread_attr_destroy(&attributes);
    return thread;
}
