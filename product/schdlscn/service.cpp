#include "product/schdlscn/service.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <syslog.h>

#include "product/schdlscn/answering.h"

namespace schdlscn {

namespace {

constexpr std::size_t kMostCallers = 64;
// So that no user keeps the others out, nor has more than some answers held.
constexpr std::size_t kMostOfOneUser = 4;
constexpr std::chrono::seconds kTimeToMoveOn(10);
constexpr int kTick = 1000;  // milliseconds between two looks for those who do not move on

bool Changes(Request::Kind kind) {
    return kind == Request::Kind::kAdd || kind == Request::Kind::kModify ||
           kind == Request::Kind::kDelete;
}

/// Nothing of a task is told to whom it is refused.
Answer StateAnswer(ScheduleError error, TaskState state) {
    Answer answer{.error = error};
    if (error == kScheduleOk) {
        answer.state = std::move(state);
    }
    return answer;
}

short EventsOf(const Caller& caller) {
    return static_cast<short>(caller.HasUnsent() ? POLLIN | POLLOUT : POLLIN);
}

}  // namespace

Service::Service(common::FileDescriptor listening, std::string taskList, Clock& clock,
                 Launcher& launcher)
    : m_listening(std::move(listening)),
      m_list(std::move(taskList)),
      m_clock(clock),
      m_launcher(launcher),
      m_planner(m_list, launcher, clock.Read()) {}

void Service::Serve(int endDescriptor) {
    do {
        if (m_mustLook) {
            m_clock.WakeAt(m_planner.Look(m_clock.Read()));
            m_mustLook = false;
        }
        DropGone();
    } while (Wait(endDescriptor));
    m_planner.StopAll(m_clock.Read());
}

/// Sleeps until something happens. False when the service is to end.
bool Service::Wait(int endDescriptor) {
    std::vector<pollfd> watched{{endDescriptor, POLLIN, 0},
                                {m_listening.Get(), POLLIN, 0},
                                {m_clock.Descriptor(), POLLIN, 0}};
    const std::size_t firstCaller = watched.size();
    for (const auto& caller : m_callers) {
        watched.push_back({caller->Descriptor(), EventsOf(*caller), 0});
    }
    const std::size_t firstRun = watched.size();
    for (const int run : m_planner.Descriptors()) {
        watched.push_back({run, POLLIN, 0});
    }
    if (::poll(watched.data(), watched.size(), m_callers.empty() ? -1 : kTick) < 0 &&
        errno != EINTR) {
        ::syslog(LOG_ERR, "waiting failed: %s", std::strerror(errno));
        return false;
    }
    if (watched[2].revents != 0) {
        m_clock.Heard();
        m_mustLook = true;
    }
    for (std::size_t i = firstRun; i < watched.size(); ++i) {
        m_mustLook = m_mustLook || watched[i].revents != 0;
    }
    for (std::size_t i = firstCaller; i < firstRun; ++i) {
        Caller& caller = *m_callers[i - firstCaller];
        if ((watched[i].revents & POLLOUT) != 0) {
            caller.Send();
        }
        if ((watched[i].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            Hear(caller);
        }
    }
    if (watched[1].revents != 0) {
        Accept();
    }
    return watched[0].revents == 0;
}

void Service::Hear(Caller& caller) {
    const auto request = caller.Hear();
    if (!request) {
        return;
    }
    const Answer answer = AnswerTo(*request, caller.User());
    if (answer.error == kScheduleOk && Changes(request->kind)) {
        ::syslog(LOG_INFO, "user %u has changed the list of tasks", caller.User());
        m_planner.Reload();
        m_mustLook = true;
    }
    caller.Say(AnswerText(answer));
}

Answer Service::AnswerTo(const Request& request, uid_t user) {
    const Moment moment = m_clock.Read();
    if (request.kind == Request::Kind::kState) {
        TaskState state;
        const ScheduleError error = m_planner.Tell(request.task.name, user, moment, state);
        return StateAnswer(error, std::move(state));
    }
    if (request.kind == Request::Kind::kRun) {
        const ScheduleError error = m_planner.RunSoon(request.task.name, user, moment);
        m_mustLook = m_mustLook || error == kScheduleOk;
        return {.error = error};
    }
    if (request.kind == Request::Kind::kDeleteReport) {
        return {.error = m_launcher.DeleteReport(request.task.name, user)};
    }
    return AnswerRequest(m_list, request, user, moment);
}

void Service::Accept() {
    common::FileDescriptor connection(
        ::accept4(m_listening.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!connection) {
        return;
    }
    auto caller = std::make_unique<Caller>(std::move(connection));
    const auto ofUser = std::count_if(m_callers.begin(), m_callers.end(), [&](const auto& other) {
        return other->User() == caller->User();
    });
    const bool isFull =
        m_callers.size() >= kMostCallers || static_cast<std::size_t>(ofUser) >= kMostOfOneUser;
    if (!isFull || caller->User() == 0) {
        m_callers.push_back(std::move(caller));
    }
}

void Service::DropGone() {
    const auto now = std::chrono::steady_clock::now();
    std::erase_if(m_callers, [&](const auto& caller) {
        return caller->IsGone() || now - caller->Since() > kTimeToMoveOn;
    });
}

}  // namespace schdlscn
