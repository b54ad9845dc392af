#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "common/file_descriptor.h"
#include "product/updturl/line_reader.h"
#include "product/updturl/message.h"

namespace updturl {

/// How a conversation ended.
enum class Ending {
    kResult,   ///< with a result
    kSilence,  ///< the other side went away, or spoke what nobody understands
    kStopped,  ///< the listener wanted it to stop, and no result came in time
    kTooLate,  ///< the time was up
    kNobody,   ///< not a word came, in the time for the first one
};

/// Who is told what a run says. All calls come from the thread that holds the conversation.
class ConversationListener {
public:
    virtual ~ConversationListener() = default;

    /// What is done now, an UpdateStatus; only kUpdateLoadingNamedFile has a name.
    virtual void Status(std::uint16_t status, std::string_view fileName) = 0;

    /// Called at the beginning, and at least four times a second when nothing else is said.
    virtual void Beat() = 0;

    /// A line for the log.
    virtual void Log(std::string_view text) = 0;

    /// The folder with what is to be installed.
    virtual void Candidate(std::string_view /*folder*/) {}

    /// Whether the run is to end.
    virtual bool IsToStop() = 0;
};

/// When a conversation ends without a result.
struct ConversationRules {
    /// When it is over in any case.
    std::optional<std::chrono::steady_clock::time_point> end;
    /// How long a run may take to answer a wish to stop; with what it takes to hear of the wish and
    /// to end the run by force this stays below 300 ms.
    std::chrono::milliseconds timeToStop{120};
    /// How long the first word may take. A socket may be there, and nobody behind it.
    std::optional<std::chrono::milliseconds> timeToBegin = std::nullopt;
    /// Whether the run may say that it is switching, and is then waited for.
    bool maySwitch = true;
};

/// What is said with a run of the updater over a socket: the words that begin it, its messages, the
/// wish to stop. For one thread.
class Conversation {
public:
    using Clock = std::chrono::steady_clock;

    /// How often the listener is told when nothing happens.
    static constexpr std::chrono::milliseconds kTick{75};
    /// How long a run that switches to a new set, which nothing interrupts, may say nothing.
    static constexpr std::chrono::seconds kTimeToSwitch{15};

    /// `socket` is connected.
    Conversation(common::FileDescriptor socket, ConversationListener& listener);

    /// Says `words` and listens until the run is over. Once.
    Ending Hold(std::string words, const ConversationRules& rules = {});

    /// Listens to what is left on the socket after the other side has been ended, without waiting:
    /// a run that had a result meanwhile is not said to have been interrupted.
    void HearTheRest();

    /// Of the run; none when it had none.
    [[nodiscard]] std::optional<int> Result() const { return m_result; }

private:
    [[nodiscard]] Clock::time_point NextTurn() const;
    void Exchange(Clock::time_point turn);
    void Send();
    void Hear();
    void Take(const Message& message);
    void BeatWhenDue();
    void AskToStop(Ending reason);
    [[nodiscard]] std::optional<Ending> Ended();

    common::FileDescriptor m_socket;
    ConversationListener& m_listener;
    ConversationRules m_rules;
    LineReader m_reader;
    std::string m_unsent;
    Clock::time_point m_toldAt;
    std::optional<Clock::time_point> m_beginEnd;  // until something is heard
    bool m_isSwitching = false;
    bool m_isAskedToStop = false;
    std::optional<int> m_result;
    std::optional<Clock::time_point> m_patienceEnd;  // after a wish to stop, or while switching
    Ending m_stopReason = Ending::kStopped;
};

}  // namespace updturl
