#include "product/schdlscn/machine_clock.h"

#include <array>
#include <cerrno>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace schdlscn {

namespace {

// The zone is a link in it that is laid anew.
constexpr char kZoneFolder[] = "/etc";
constexpr std::size_t kMostEvents = 4096;

bool Watch(int events, int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    return descriptor >= 0 && ::epoll_ctl(events, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

}  // namespace

MachineClock::MachineClock()
    : m_events(::epoll_create1(EPOLL_CLOEXEC)),
      m_timer(::timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)),
      m_zone(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    m_isWhole = m_events && Watch(m_events.Get(), m_timer.Get()) &&
                Watch(m_events.Get(), m_zone.Get()) &&
                ::inotify_add_watch(m_zone.Get(), kZoneFolder,
                                    IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ONLYDIR) >= 0;
}

void MachineClock::Heard() {
    // What is read says nothing that is not looked for anyway; ECANCELED is a clock that was set.
    alignas(inotify_event) std::array<char, kMostEvents> buffer;
    while (::read(m_zone.Get(), buffer.data(), buffer.size()) > 0) {
    }
    while (::read(m_timer.Get(), buffer.data(), sizeof(std::uint64_t)) > 0) {
    }
}

// Without a time to wake at, too, a clock that is set has to be heard of: so far ahead as never.
void MachineClock::WakeAt(std::optional<std::chrono::sys_seconds> moment) {
    constexpr std::time_t kNever = 253'402'300'799;  // the end of the year 9999
    itimerspec time{};
    time.it_value.tv_sec =
        moment ? std::max<std::time_t>(moment->time_since_epoch().count(), 1) : kNever;
    (void)::timerfd_settime(m_timer.Get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &time,
                            nullptr);
}

}  // namespace schdlscn
