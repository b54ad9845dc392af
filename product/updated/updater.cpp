#include "product/updated/updater.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include "abi/updturl.h"
#include "product/updturl/request.h"

namespace updated {

namespace {

constexpr std::chrono::seconds kPatience(5);
constexpr std::chrono::seconds kSwitch(60);

/// Its session is its own, so that what it starts ends with it, and no terminal reaches it. -1 with
/// errno set.
pid_t Spawn(const std::string& program, int socket) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_init(&attributes);
    ::posix_spawn_file_actions_adddup2(&actions, socket, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, socket, STDOUT_FILENO);
    sigset_t none;
    sigset_t usual;
    sigemptyset(&none);
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    sigaddset(&usual, SIGXFSZ);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &usual);
    ::posix_spawnattr_setflags(&attributes,
                               POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    std::string name = program;
    std::array<char*, 2> words{name.data(), nullptr};
    // Not of our environment: variables that name a proxy decide nothing here.
    std::string path = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    std::array<char*, 2> environment{path.data(), nullptr};
    pid_t process = -1;
    const int error = ::posix_spawn(&process, program.c_str(), &actions, &attributes, words.data(),
                                    environment.data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    errno = error;
    return error == 0 ? process : -1;
}

}  // namespace

Updater::Updater(const std::string& program, std::string request) : m_unsent(std::move(request)) {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0) {
        const common::FileDescriptor theirs(ends[1]);
        m_socket.Reset(ends[0]);
        m_process = Spawn(program, theirs.Get());
    }
    if (m_process <= 0) {
        ::syslog(LOG_ERR, "%s cannot be started: %s", program.c_str(), std::strerror(errno));
        m_process = -1;
        return;
    }
    Send();
}

Updater::~Updater() {
    if (m_process > 0) {
        (void)::kill(-m_process, SIGKILL);
        while (::waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
}

void Updater::Send() {
    while (!m_unsent.empty()) {
        const ssize_t sent =
            ::send(m_socket.Get(), m_unsent.data(), m_unsent.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
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
