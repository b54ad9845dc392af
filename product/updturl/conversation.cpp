#include "product/updturl/conversation.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

#include "product/updturl/request.h"

namespace updturl {

Conversation::Conversation(common::FileDescriptor socket, ConversationListener& listener)
    : m_socket(std::move(socket)), m_listener(listener) {
    (void)::fcntl(m_socket.Get(), F_SETFL, O_NONBLOCK);
}

Ending Conversation::Hold(std::string words, const ConversationRules& rules) {
    m_rules = rules;
    m_unsent = std::move(words);
    if (m_rules.timeToBegin) {
        m_beginEnd = Clock::now() + *m_rules.timeToBegin;
    }
    m_listener.Beat();
    m_toldAt = Clock::now();
    while (true) {
        if (const auto ending = Ended()) {
            return *ending;
        }
        if (m_listener.IsToStop()) {
            AskToStop(Ending::kStopped);
        } else if (m_rules.end && Clock::now() >= *m_rules.end) {
            AskToStop(Ending::kTooLate);
        }
        Exchange(NextTurn());
        Hear();
        BeatWhenDue();
    }
}

void Conversation::HearTheRest() {
    while (!m_result && m_reader.ReadFrom(m_socket.Get()) == LineReader::State::kOpen) {
        Hear();
        pollfd waiting{.fd = m_socket.Get(), .events = POLLIN, .revents = 0};
        if (::poll(&waiting, 1, 0) != 1) {
            break;
        }
    }
    Hear();
}

Conversation::Clock::time_point Conversation::NextTurn() const {
    auto turn = m_toldAt + kTick;
    if (m_patienceEnd) {
        turn = std::min(turn, *m_patienceEnd);
    }
    if (m_beginEnd) {
        turn = std::min(turn, *m_beginEnd);
    }
    if (m_rules.end && !m_isAskedToStop) {
        turn = std::min(turn, *m_rules.end);
    }
    return turn;
}

/// Sends and receives what can be, and waits until `turn` at most for it.
void Conversation::Exchange(Clock::time_point turn) {
    const auto limit = std::chrono::ceil<std::chrono::milliseconds>(turn - Clock::now());
    pollfd waiting{.fd = m_socket.Get(), .events = POLLIN, .revents = 0};
    if (!m_unsent.empty()) {
        waiting.events |= POLLOUT;
    }
    if (::poll(&waiting, 1, std::max(0, static_cast<int>(limit.count()))) < 1) {
        return;
    }
    if ((waiting.revents & POLLOUT) != 0) {
        Send();
    }
    if ((waiting.revents & ~POLLOUT) != 0) {
        m_reader.ReadFrom(m_socket.Get());
    }
}

void Conversation::Send() {
    // Without a signal: this may be any program, and it need not expect one.
    const ssize_t count = ::send(m_socket.Get(), m_unsent.data(), m_unsent.size(), MSG_NOSIGNAL);
    if (count > 0) {
        m_unsent.erase(0, static_cast<std::size_t>(count));
    } else if (errno != EAGAIN && errno != EINTR) {
        m_unsent.clear();  // nobody listens; what they said before is still heard
    }
}

void Conversation::Hear() {
    while (!m_result) {
        const auto line = m_reader.Next();
        if (!line) {
            return;
        }
        if (const auto message = ReadMessage(*line)) {
            Take(*message);
        }
    }
}

void Conversation::Take(const Message& message) {
    m_beginEnd.reset();
    switch (message.kind) {
        case MessageKind::kStatus:
            m_listener.Status(message.number, message.text);
            m_toldAt = Clock::now();
            if (m_isSwitching) {
                m_patienceEnd = m_toldAt + kTimeToSwitch;
            }
            return;
        case MessageKind::kLog:
            m_listener.Log(message.text);
            return;
        case MessageKind::kSwitching:
            if (m_rules.maySwitch) {
                m_isSwitching = true;
                m_patienceEnd = Clock::now() + kTimeToSwitch;
            }
            return;
        case MessageKind::kResult:
            m_result = message.number;
            return;
        case MessageKind::kCandidate:
            m_listener.Candidate(message.text);
            return;
    }
}

void Conversation::BeatWhenDue() {
    if (Clock::now() - m_toldAt >= kTick) {
        m_listener.Beat();
        m_toldAt = Clock::now();
    }
}

void Conversation::AskToStop(Ending reason) {
    if (m_isAskedToStop) {
        return;
    }
    m_isAskedToStop = true;
    m_stopReason = reason;
    m_unsent.append(kStopLine).append("\n");
    if (!m_isSwitching) {
        m_patienceEnd = Clock::now() + m_rules.timeToStop;
    }
}

std::optional<Ending> Conversation::Ended() {
    if (m_result) {
        return Ending::kResult;
    }
    if (m_reader.Now() != LineReader::State::kOpen) {
        return m_isAskedToStop && !m_isSwitching ? m_stopReason : Ending::kSilence;
    }
    if (m_patienceEnd && Clock::now() >= *m_patienceEnd) {
        return m_isSwitching ? Ending::kSilence : m_stopReason;
    }
    if (m_beginEnd && Clock::now() >= *m_beginEnd) {
        return Ending::kNobody;
    }
    return std::nullopt;
}

}  // namespace updturl
