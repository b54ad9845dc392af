#include "product/virlog/held_signals.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <future>
#include <pthread.h>

namespace {

// What the program's own faults raise: held back, they would only be raised again and again.
constexpr int kFaults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT};

// Held like all others, but without being asked to a program does not end by them. SIGTTOU would
// stop one in the background that says on the terminal that it waits.
constexpr int kNotEnding[] = {SIGTSTP, SIGTTIN, SIGTTOU, SIGCHLD, SIGCONT, SIGURG, SIGWINCH};

// What the second thread wakes the first one with when it is done.
constexpr int kDone = SIGUSR1;

bool IsIgnored(int signal) {
    struct sigaction action {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// Tells, however `call` is left.
class DoneNotice {
public:
    DoneNotice(std::atomic<bool>& isDone, pthread_t waiter) : m_isDone(isDone), m_waiter(waiter) {}
    ~DoneNotice() {
        m_isDone = true;
        ::pthread_kill(m_waiter, kDone);
    }
    DoneNotice(const DoneNotice&) = delete;
    DoneNotice& operator=(const DoneNotice&) = delete;

private:
    std::atomic<bool>& m_isDone;
    pthread_t m_waiter;
};

}  // namespace

HeldSignals::HeldSignals() {
    sigset_t held;
    sigfillset(&held);
    for (const int signal : kFaults) {
        sigdelset(&held, signal);
    }
    m_ending = held;
    for (const int signal : kNotEnding) {
        sigdelset(&m_ending, signal);
    }
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        if (signal != kDone && IsIgnored(signal)) {
            sigdelset(&m_ending, signal);
        }
    }
    ::pthread_sigmask(SIG_BLOCK, &held, &m_oldMask);
}

HeldSignals::~HeldSignals() {
    ::pthread_sigmask(SIG_SETMASK, &m_oldMask, nullptr);
}

bool HeldSignals::Run(const std::function<bool()>& call, const std::function<void()>& onDelay,
                      const std::function<void()>& onSignal) {
    std::atomic<bool> isDone = false;
    std::future<bool> result =
        std::async(std::launch::async, [&call, &isDone, self = ::pthread_self()] {
            const DoneNotice notice(isDone, self);
            return call();
        });
    constexpr timespec kDelay{1, 0};
    const timespec* limit = &kDelay;
    int ending = 0;
    while (!isDone) {
        const int signal = ::sigtimedwait(&m_ending, nullptr, limit);
        if (signal == -1 && errno == EAGAIN) {
            limit = nullptr;
            onDelay();
        } else if (signal > 0 && !isDone) {
            ending = signal;
            onSignal();
        }
    }
    result.wait();
    // The notice is used up, whether it came before or after the last look.
    constexpr timespec kNow{0, 0};
    sigset_t done;
    sigemptyset(&done);
    sigaddset(&done, kDone);
    ::sigtimedwait(&done, nullptr, &kNow);
    if (ending != 0) {
        ::raise(ending);  // Pending until the object goes.
    }
    return result.get();
}
