#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "common/file_descriptor.h"
#include "product/updturl/line_reader.h"
#include "product/updturl/message.h"
#include "product/updturl/progress_listener.h"

namespace updturl {

/// How a conversation ended.
enum class Ending {
    kResult,   ///< with a result
    kSilence,  ///< the other side went away, or spoke what nobody understands
    kStopped,  ///< the listener wanted it to stop, and no result came in time
    kTooLate,  ///< the time was up
};

/// What is said with a run of the updater over a socket: the words that begin it, its messages, the
/// wish to stop. The listener is told on the calling thread, at least four times a second. For one
/// thread.
class Conversation {
public:
    using Clock = std::chrono::steady_clock;

    /// How long a run may take to answer a wish to stop; with what it takes to end it by force this
    /// stays below 300 ms.
    static constexpr std::chrono::milliseconds kTimeToStop{120};
    /// How often the listener is told when nothing happens.
    static constexpr std::chrono::milliseconds kTick{75};
    /// How long a switch to a new set may take, which nothing interrupts.
    static constexpr std::chrono::seconds kTimeToSwitch{60};

    /// `socket` is connected.
    Conversation(FileDescriptor socket, ProgressListener& listener);

    /// Says `words` and listens until the run is over. Once.
    Ending Hold(std::string words, std::optional<Clock::time_point> end = std::nullopt);

    /// Listens to what is left on the socket after the other side has been ended, without waiting:
    /// a run that had a result meanwhile is not said to have been interrupted.
    void HearTheRest();

    /// Of the run; none when it had none.
    [[nodiscard]] std::optional<int> Result() const { return m_result; }

private:
    [[nodiscard]] Clock::time_point NextTurn(std::optional<Clock::time_point> end) const;
    void Exchange(Clock::time_point turn);
    void Send();
    void Hear();
    void Take(const Message& message);
    void TellWhenDue();
    void AskToStop(Ending reason);
    [[nodiscard]] std::optional<Ending> Ended();

    FileDescriptor m_socket;
    ProgressListener& m_listener;
    LineReader m_reader;
    std::string m_unsent;
    Clock::time_point m_toldAt;
    bool m_isSwitching = false;
    std::optional<int> m_result;
    std::optional<Clock::time_point> m_patienceEnd;  // after a wish to stop
    Ending m_stopReason = Ending::kStopped;
};

}  // namespace updturl
