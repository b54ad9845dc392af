#include "product/shellscan/stop_signals.h"

#include <array>
#include <csignal>
#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace shellscan {

StopSignals::StopSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction action {};
        if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_IGN) {
            sigaddset(&held, signal);
        }
    }
    ::pthread_sigmask(SIG_BLOCK, &held, nullptr);
    m_signals.Reset(::signalfd(-1, &held, SFD_CLOEXEC | SFD_NONBLOCK));
}

int StopSignals::WaitFor(int other, std::chrono::milliseconds limit) const {
    std::array<pollfd, 2> waited{pollfd{m_signals.Get(), POLLIN, 0}, pollfd{other, POLLIN, 0}};
    if (::poll(waited.data(), waited.size(), static_cast<int>(limit.count())) <= 0) {
        return 0;
    }
    signalfd_siginfo info{};
    if ((waited[0].revents & POLLIN) == 0 ||
        ::read(m_signals.Get(), &info, sizeof(info)) != sizeof(info)) {
        return 0;
    }
    return static_cast<int>(info.ssi_signo);
}

}  // namespace shellscan
