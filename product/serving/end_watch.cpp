#include "product/serving/end_watch.h"

#include <csignal>
#include <sys/signalfd.h>

namespace serving {

common::FileDescriptor WatchForEnd() {
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    return common::FileDescriptor(::signalfd(-1, &ending, SFD_CLOEXEC | SFD_NONBLOCK));
}

}  // namespace serving
