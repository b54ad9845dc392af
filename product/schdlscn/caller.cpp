#include "product/schdlscn/caller.h"

#include <cerrno>
#include <sys/socket.h>

#include "common/retrying.h"

namespace schdlscn {

using updturl::LineReader;

Caller::Caller(common::FileDescriptor connection) : m_connection(std::move(connection)) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(m_connection.Get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0) {
        m_user = peer.uid;
    } else {
        m_isGone = true;
    }
}

// A connection that ends, or goes on, after its request has nobody who waits for an answer.
std::optional<Request> Caller::Hear() {
    const LineReader::State state = m_lines.ReadFrom(m_connection.Get());
    std::optional<Request> whole;
    while (const auto line = m_lines.Next()) {
        switch (m_isAnswered ? Reading::kRefused : m_request.Take(*line)) {
            case Reading::kMore:
                break;
            case Reading::kWhole:
                m_isAnswered = true;
                whole = m_request.Taken();
                break;
            case Reading::kRefused:
                m_isGone = true;
                return std::nullopt;
        }
    }
    m_isGone = m_isGone || state != LineReader::State::kOpen;
    return m_isGone ? std::nullopt : whole;
}

void Caller::Say(std::string text) {
    m_unsent = std::move(text);
    m_sent = 0;
    m_since = std::chrono::steady_clock::now();
    Send();
}

void Caller::Send() {
    while (HasUnsent() && !m_isGone) {
        const ssize_t sent = common::Retrying([&] {
            return ::send(m_connection.Get(), m_unsent.data() + m_sent, m_unsent.size() - m_sent,
                          MSG_NOSIGNAL | MSG_DONTWAIT);
        });
        if (sent < 0) {
            m_isGone = errno != EAGAIN;
            return;
        }
        m_since = std::chrono::steady_clock::now();
        m_sent += static_cast<std::size_t>(sent);
        if (m_sent == m_unsent.size()) {
            m_unsent.clear();
            m_isGone = true;
        }
    }
}

}  // namespace schdlscn
