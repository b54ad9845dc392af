#include "product/updturl/child_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "common/clean_spawn.h"
#include "common/retrying.h"

namespace updturl {
namespace {

constexpr int kTimeToLeave = 1000;         // milliseconds, after the result
constexpr int kTimeAfterTermination = 40;  // milliseconds
constexpr int kPause = 2;                  // milliseconds between two looks

// What is not here is not passed on: no proxy, no preloaded library, no other place for
// configurations. The record of settings decides.
constexpr char kPath[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
constexpr char kLanguage[] = "LC_ALL=C.UTF-8";

}  // namespace

ChildProcess::~ChildProcess() {
    EndByForce();
}

common::FileDescriptor ChildProcess::Start(const std::string& program,
                                           std::vector<std::string> arguments, ProcessGroup group) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return {};
    }
    common::FileDescriptor ours(ends[0]);
    const common::FileDescriptor theirs(ends[1]);
    std::string name = program;
    std::string path = kPath;
    std::string language = kLanguage;
    std::vector<char*> words{name.data()};
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    const std::array<char*, 3> environment{path.data(), language.data(), nullptr};
    pid_t pid = 0;
    const common::CleanSpawn spawn(
        {{theirs.Get(), STDIN_FILENO}, {theirs.Get(), STDOUT_FILENO}},
        group == ProcessGroup::kOwn ? common::Session::kOwn : common::Session::kShared);
    const int error = spawn.Start(pid, program.c_str(), words.data(), environment.data());
    if (error != 0) {
        errno = error;
        return {};
    }
    m_pid = pid;
    m_group = group;
    return ours;
}

void ChildProcess::EndInPeace() {
    if (m_pid != 0) {
        WaitForEnd(kTimeToLeave);
        Finish();
    }
}

void ChildProcess::EndByForce() {
    if (m_pid != 0) {
        (void)Signal(SIGTERM);
        WaitForEnd(kTimeAfterTermination);
        Finish();
    }
}

/// Whether the child ends in that time. It stays a zombie, so that its number is no other's.
bool ChildProcess::WaitForEnd(int milliseconds) const {
    for (int waited = 0;; waited += kPause) {
        siginfo_t info{};
        if (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0) {
            return true;  // whoever loaded the library has collected it
        }
        if (info.si_pid == m_pid) {
            return true;
        }
        if (waited >= milliseconds) {
            return false;
        }
        const timespec pause{.tv_sec = 0, .tv_nsec = kPause * 1'000'000L};
        ::nanosleep(&pause, nullptr);
    }
}

bool ChildProcess::Signal(int signal) const {
    return ::kill(m_group == ProcessGroup::kOwn ? -m_pid : m_pid, signal) == 0;
}

/// Ends what is left, and collects the child.
void ChildProcess::Finish() {
    // A child that runs as another user cannot be ended by us, nor be waited for: it ends when it
    // finds its input at the end.
    const bool isOurs = Signal(SIGKILL) || errno != EPERM;
    if (isOurs) {
        (void)common::Retrying([&] { return ::waitpid(m_pid, nullptr, 0); });
    }
    m_pid = 0;
}

}  // namespace updturl
