#pragma once

#include <csignal>
#include <filesystem>
#include <string>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "common/file_descriptor.h"
#include "common/paths.h"
#include "common/text_field.h"
#include "product/schdlscn/ask_service.h"
#include "product/schdlscn/service.h"
#include "product/serving/listening.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/schdlscn/fake_runs.h"

// The service at its place, in a process of its own, by a clock that stands still.

class StillClock : public schdlscn::Clock {
public:
    schdlscn::Moment Read() override { return schdlscn::ReadMoment(); }
    [[nodiscard]] int Descriptor() const override { return -1; }
    void Heard() override {}
    void WakeAt(std::optional<std::chrono::sys_seconds> /*moment*/) override {}
};

inline int ServeUntilEnded() {
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    const common::FileDescriptor end(::signalfd(-1, &ending, SFD_CLOEXEC));
    StillClock clock;
    FakeLauncher launcher;
    schdlscn::Service service(serving::Listen(schdlscn::kServiceSocket),
                              common::InProductDirectory(kScheduleTaskList), clock, launcher);
    service.Serve(end.Get());
    return 0;
}

inline common::FileDescriptor Connect(int flags = 0) {
    common::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    common::CopyToField(address.sun_path, schdlscn::kServiceSocket);
    if (::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        socket.Reset();
    }
    return socket;
}

/// Not open when too many wait already.
inline common::FileDescriptor ConnectAtOnce() {
    return Connect(SOCK_NONBLOCK);
}

class SchedulerService {
public:
    SchedulerService() {
        std::filesystem::create_directories("/run/corvane");
        std::filesystem::remove(schdlscn::kServiceSocket);
        m_process = StartChild(ServeUntilEnded);
        m_isThere = WaitUntil([] { return Connect().IsOpen(); });
    }
    ~SchedulerService() {
        ::kill(m_process, SIGTERM);
        m_status = JoinChild(m_process);
    }
    SchedulerService(const SchedulerService&) = delete;
    SchedulerService& operator=(const SchedulerService&) = delete;

    [[nodiscard]] bool IsThere() const { return m_isThere; }

private:
    pid_t m_process = 0;
    bool m_isThere = false;
    int m_status = 0;
};

/// Runs `work` as another user and gives its result, 0 to 255.
inline int AsUser(uid_t user, const std::function<int()>& work) {
    return InChild([&] {
        if (::setresgid(user, user, user) != 0 || ::setresuid(user, user, user) != 0) {
            return 255;
        }
        return work();
    });
}
