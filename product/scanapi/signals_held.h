#pragma once

#include <csignal>
#include <pthread.h>

namespace scanapi {

/// Keeps every signal from this thread while it lives. What is started meanwhile, thread or
/// process, inherits that.
class SignalsHeld {
public:
    SignalsHeld() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t m_before{};
};

}  // namespace scanapi
