#include "product/updated/asker.h"

#include <cerrno>
#include <sys/socket.h>

#include "common/retrying.h"
#include "common/socket_peer.h"
#include "product/updturl/request.h"

namespace updated {

namespace {

constexpr std::string_view kWishToUpdate = "update";
constexpr std::string_view kWishForIndex = "index";

// A wish and a stop; nobody has more to say.
constexpr std::size_t kMostHeard = 64;
// What is kept for one that reads slowly; from the half on only what matters.
constexpr std::size_t kMostUnsent = std::size_t{64} * 1024;

}  // namespace

Asker::Asker(common::FileDescriptor connection)
    : m_connection(std::move(connection)), m_reader(kMostHeard) {
    if (const auto peer = common::PeerOf(m_connection.Get())) {
        m_user = peer->uid;
        m_process = peer->pid;
    } else {
        m_state = State::kGone;
    }
}

void Asker::Leave() {
    if (m_state != State::kGone) {
        m_state = m_unsent.empty() ? State::kGone : State::kLeaving;
    }
}

void Asker::Hear() {
    const auto state = m_reader.ReadFrom(m_connection.Get());
    while (const auto line = m_reader.Next()) {
        Take(*line);
    }
    if (state != updturl::LineReader::State::kOpen) {
        m_state = State::kGone;
    }
}

void Asker::Take(std::string_view line) {
    // A stop that comes when the result is on its way is too late.
    const bool hasRun = m_state == State::kRunning || m_state == State::kLeaving;
    if (hasRun && line == updturl::kStopLine) {
        m_isStopping = true;
        return;
    }
    // After the wish comes a stop, or what nobody understands.
    if (m_state != State::kNew || (line != kWishToUpdate && line != kWishForIndex)) {
        m_state = State::kGone;
        return;
    }
    m_wish = line == kWishForIndex ? Wish::kIndex : Wish::kUpdate;
    m_state = State::kWaiting;
}

void Asker::Say(std::string_view line) {
    if (m_unsent.size() + line.size() > kMostUnsent) {
        m_state = State::kGone;
        return;
    }
    m_unsent.append(line);
    Send();
}

void Asker::Mention(std::string_view line) {
    if (m_unsent.size() < kMostUnsent / 2) {
        Say(line);
    }
}

void Asker::Send() {
    while (!m_unsent.empty() && m_state != State::kGone) {
        const ssize_t sent = common::Retrying([&] {
            return ::send(m_connection.Get(), m_unsent.data(), m_unsent.size(),
                          MSG_NOSIGNAL | MSG_DONTWAIT);
        });
        if (sent < 0) {
            if (errno != EAGAIN) {
                m_state = State::kGone;
            }
            return;
        }
        m_unsent.erase(0, static_cast<std::size_t>(sent));
    }
    if (m_state == State::kLeaving) {
        m_state = State::kGone;
    }
}

}  // namespace updated
