#pragma once

#include <csignal>
#include <functional>

/// Keeps the signals that end or stop a program back while it lives, the real-time ones included: a
/// process that dies with a named mutex in its hands locks everybody out. They take effect when the
/// object goes. Not held are SIGKILL and SIGSTOP, which nobody can, and the faults of the program.
///
/// For the main thread, before others are started.
class HeldSignals {
public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Runs `call` in a second thread. Calls `onSignal` when one of the signals that end the
    /// program comes meanwhile, and `onDelay` when `call` takes longer than a second. Returns after
    /// `call` has.
    bool Run(const std::function<bool()>& call, const std::function<void()>& onDelay,
             const std::function<void()>& onSignal);

private:
    sigset_t m_ending{};  ///< those that end the program, as far as they are not ignored
    sigset_t m_oldMask{};
};
