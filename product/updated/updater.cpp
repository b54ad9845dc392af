#include "product/updated/updater.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <syslog.h>

#include "abi/updturl.h"
#include "common/retrying.h"
#include "product/updturl/request.h"

namespace updated {

namespace {

constexpr std::chrono::seconds kPatience(5);
constexpr std::chrono::seconds kSwitch(60);

}  // namespace

Updater::Updater(const std::string& program, std::string request)
    : m_socket(m_process.Start(program, {}, updturl::ProcessGroup::kOwn)),
      m_unsent(std::move(request)) {
    if (!m_socket) {
        ::syslog(LOG_ERR, "%s cannot be started: %s", program.c_str(), std::strerror(errno));
        return;
    }
    Send();
}

void Updater::Send() {
    while (!m_unsent.empty()) {
        const ssize_t sent = common::Retrying([&] {
            return ::send(m_socket.Get(), m_unsent.data(), m_unsent.size(),
                          MSG_NOSIGNAL | MSG_DONTWAIT);
        });
        if (sent < 0) {
            if (errno != EAGAIN) {
                m_unsent.clear();  // its end is seen where it is heard
            }
            return;
        }
        m_unsent.erase(0, static_cast<std::size_t>(sent));
    }
}

std::vector<updturl::Message> Updater::Hear() {
    std::vector<updturl::Message> messages;
    const auto state = m_lines.ReadFrom(m_socket.Get());
    while (const auto line = m_lines.Next()) {
        auto message = updturl::ReadMessage(*line);
        if (!message || m_hasResult) {
            continue;
        }
        m_isSwitching = m_isSwitching || message->kind == updturl::MessageKind::kSwitching;
        if (message->kind == updturl::MessageKind::kResult) {
            m_hasResult = true;
            SetPatience();
        }
        messages.push_back(*std::move(message));
    }
    if (state != updturl::LineReader::State::kOpen && !m_hasResult) {
        m_hasResult = true;
        messages.push_back(
            {updturl::MessageKind::kResult,
             static_cast<std::uint16_t>(m_isStopped ? kUpdaterInterrupted : kUpdaterFailed),
             {}});
    }
    return messages;
}

void Updater::Stop() {
    if (m_isStopped || m_hasResult) {
        return;
    }
    m_isStopped = true;
    m_unsent.append(updturl::kStopLine).append("\n");
    Send();
    SetPatience();
}

void Updater::SetPatience() {
    m_patience =
        std::chrono::steady_clock::now() + (m_isSwitching && !m_hasResult ? kSwitch : kPatience);
}

}  // namespace updated
