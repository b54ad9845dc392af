#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "common/file_descriptor.h"
#include "product/updturl/line_reader.h"

namespace updated {

using Clock = std::chrono::steady_clock;

/// Somebody who asks for an update: a connection that never blocks. Nothing that comes over it is
/// believed but the wish; who it is the system says. For one thread.
class Asker {
public:
    enum class State {
        kNew,      ///< the wish has not come yet
        kWaiting,  ///< for a run of its own
        kRunning,
        kLeaving,  ///< has its result, of which not all may be sent
        kGone,     ///< closed, broken, or slower than can be waited for
    };
    enum class Wish { kUpdate, kIndex };

    explicit Asker(common::FileDescriptor connection);

    [[nodiscard]] int Descriptor() const { return m_connection.Get(); }
    [[nodiscard]] State Now() const { return m_state; }
    [[nodiscard]] Wish Wanted() const { return m_wish; }
    [[nodiscard]] uid_t User() const { return m_user; }
    [[nodiscard]] pid_t Process() const { return m_process; }
    [[nodiscard]] Clock::time_point Since() const { return m_since; }
    /// Its run is to stop; what that comes to it still hears.
    [[nodiscard]] bool IsStopping() const { return m_isStopping; }
    [[nodiscard]] bool HasUnsent() const { return !m_unsent.empty(); }

    void Begin() { m_state = State::kRunning; }
    void Leave();
    void GiveUp() { m_state = State::kGone; }

    /// Reads what has come; becomes kWaiting with its wish, kGone when it does not want to wait.
    void Hear();
    /// Sends what fits at once.
    void Say(std::string_view line);
    /// The same, for what may be lost to one that is slow.
    void Mention(std::string_view line);
    void Send();

private:
    void Take(std::string_view line);

    common::FileDescriptor m_connection;
    uid_t m_user = static_cast<uid_t>(-1);
    pid_t m_process = 0;
    Clock::time_point m_since = Clock::now();
    State m_state = State::kNew;
    bool m_isStopping = false;
    Wish m_wish = Wish::kUpdate;
    updturl::LineReader m_reader;
    std::string m_unsent;
};

}  // namespace updated
