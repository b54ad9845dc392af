#include "product/scanhost/workers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "common/retrying.h"
#include "product/scanhost/worker.h"

namespace scanhost {

namespace {

// Killed, a worker ends at once unless the kernel waits on its behalf.
constexpr std::chrono::seconds kEndPatience(1);
constexpr std::chrono::milliseconds kLookInterval(100);

// An exit status, or minus the signal.
int EndOf(int status) {
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

// Of what the host has open a worker has the standard descriptors, which lead nowhere, and its
// socket. By the control socket, for one, the engine sees the end of the host.
void KeepOnly(int socket) {
    const auto kept = static_cast<unsigned int>(socket);
    if (kept > STDERR_FILENO + 1) {
        ::close_range(STDERR_FILENO + 1, kept - 1, 0);
    }
    ::close_range(kept + 1, ~0U, 0);
}

}  // namespace

Workers::Workers(const cl_engine* engine, const Confinement& confinement,
                 const ControlSocket& control, bool notesRefusals)
    : m_engine(engine),
      m_confinement(confinement),
      m_control(control),
      m_notesRefusals(notesRefusals) {}

Workers::~Workers() {
    for (const Place& place : m_places) {
        if (place.pid > 0) {
            ::kill(place.pid, SIGKILL);
        }
    }
    const auto deadline = Clock::now() + kEndPatience;
    for (const Place& place : m_places) {
        while (place.pid > 0 && ::waitpid(place.pid, nullptr, WNOHANG) == 0 &&
               Clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
}

bool Workers::Start(std::uint32_t count) {
    m_places.resize(count);
    for (std::uint32_t number = 0; number < count; ++number) {
        if (!StartOne(number)) {
            return false;
        }
    }
    return true;
}

bool Workers::StartOne(std::uint32_t number) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return SayWhyNot("no socket for a worker");
    }
    common::FileDescriptor engines(ends[0]);
    const common::FileDescriptor workers(ends[1]);
    const pid_t host = ::getpid();
    const pid_t pid = ::fork();
    if (pid < 0) {
        return SayWhyNot("no process for a worker");
    }
    if (pid == 0) {
        engines.Reset();
        BeWorker(number, host, workers.Get());
    }
    Place& place = m_places[number];
    place.pid = pid;
    place.ended.reset();
    ++place.generation;
    return m_control.Tell(
        scanwire::Worker{.worker = number, .generation = place.generation, .pid = pid},
        engines.Get());
}

void Workers::BeWorker(std::uint32_t number, pid_t host, int socket) const {
    WorkerExit end = kExitFailed;
    try {
        KeepOnly(socket);
        sigset_t none;
        ::sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        end = m_confinement.Enter(number, host).empty()
                  ? Worker(m_engine, socket, m_notesRefusals).Run()
                  : kExitUnconfined;
    } catch (const std::exception&) {
        end = kExitFailed;
    }
    ::_exit(end);
}

// Always false.
bool Workers::SayWhyNot(const char* what) const {
    m_control.Tell(scanwire::NotLoaded{std::string(what) + ": " + std::strerror(errno)});
    return false;
}

void Workers::End(const scanwire::Replace& which) {
    if (which.worker < m_places.size() && m_places[which.worker].pid > 0 &&
        m_places[which.worker].generation == which.generation) {
        Place& place = m_places[which.worker];
        // Nobody else has its number before it is reaped, and then its place is another's.
        ::kill(place.pid, SIGKILL);
        place.ended = place.ended.value_or(Clock::now());
    }
}

int Workers::UntilNextLook() const {
    const bool isAnyAwaited = std::any_of(m_places.begin(), m_places.end(),
                                          [](const Place& each) { return each.ended.has_value(); });
    return isAnyAwaited ? static_cast<int>(kLookInterval.count()) : -1;
}

bool Workers::Reap() {
    int status = 0;
    pid_t pid = 0;
    while ((pid = common::Retrying([&] { return ::waitpid(-1, &status, WNOHANG); })) > 0) {
        const auto place = std::find_if(m_places.begin(), m_places.end(),
                                        [pid](const Place& each) { return each.pid == pid; });
        if (place == m_places.end()) {
            continue;
        }
        if (!ReplaceOne(static_cast<std::uint32_t>(place - m_places.begin()), EndOf(status))) {
            return false;
        }
    }
    for (std::uint32_t number = 0; number < m_places.size(); ++number) {
        // It is reaped whenever the kernel lets go of it.
        if (m_places[number].ended && Clock::now() - *m_places[number].ended >= kEndPatience &&
            !ReplaceOne(number, -SIGKILL)) {
            return false;
        }
    }
    return true;
}

bool Workers::ReplaceOne(std::uint32_t number, int status) {
    m_places[number].pid = 0;
    m_confinement.Clear(number);
    return TellEnd(number, status) && StartOne(number);
}

bool Workers::TellEnd(std::uint32_t number, int status) {
    if (status == kExitUnconfined && !m_hasToldOfUnconfined) {
        m_hasToldOfUnconfined = true;
        m_control.Tell(scanwire::Log{"a worker could not be confined, and ended"});
    }
    return m_control.Tell(scanwire::Ended{
        .worker = number, .generation = m_places[number].generation, .status = status});
}

}  // namespace scanhost
