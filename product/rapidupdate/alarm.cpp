#include "product/rapidupdate/alarm.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace rapidupdate {

Alarm::Alarm() {
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &ending, &m_oldMask);
    // The signals are not read before the end, so one that has come is seen by every later wait.
    m_end.Reset(::signalfd(-1, &ending, SFD_CLOEXEC | SFD_NONBLOCK));
    // Other clocks stand still while the machine sleeps, or are set.
    m_timer.Reset(::timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK));
}

Alarm::~Alarm() {
    // What has ended the service in good order does not kill it now.
    signalfd_siginfo signal{};
    while (::read(m_end.Get(), &signal, sizeof signal) > 0) {
    }
    ::pthread_sigmask(SIG_SETMASK, &m_oldMask, nullptr);
}

bool Alarm::WaitUntil(Seconds due) const {
    itimerspec time{};
    // Zero would turn it off.
    time.it_value.tv_nsec = 1;
    time.it_value.tv_sec = due.count();
    if (::timerfd_settime(m_timer.Get(), TFD_TIMER_ABSTIME, &time, nullptr) != 0) {
        return false;
    }
    std::array<pollfd, 2> watched{{{m_end.Get(), POLLIN, 0}, {m_timer.Get(), POLLIN, 0}}};
    while (::poll(watched.data(), watched.size(), -1) < 0) {
        if (errno != EINTR) {
            return false;
        }
    }
    return watched[0].revents == 0;
}

Seconds Alarm::Now() {
    timespec now{};
    (void)::clock_gettime(CLOCK_BOOTTIME, &now);
    return Seconds(now.tv_sec);
}

}  // namespace rapidupdate
