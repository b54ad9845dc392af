#include "product/updturl/updater_child.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace updturl {
namespace {

constexpr int kTimeToLeave = 1000;         // milliseconds, after the result
constexpr int kTimeAfterTermination = 40;  // milliseconds
constexpr int kPause = 2;                  // milliseconds between two looks

// What is not here is not passed on: no proxy, no preloaded library, no other place for
// configurations. The record of settings decides.
constexpr char kPath[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
constexpr char kLanguage[] = "LC_ALL=C.UTF-8";

class SpawnActions {
public:
    explicit SpawnActions(int socket) {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_adddup2(&m_actions, socket, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, socket, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&m_actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
        posix_spawn_file_actions_addchdir_np(&m_actions, "/");
    }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&m_actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    [[nodiscard]] const posix_spawn_file_actions_t* Get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

class SpawnAttributes {
public:
    SpawnAttributes() {
        posix_spawnattr_init(&m_attributes);
        sigset_t signals;
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&m_attributes, &signals);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&m_attributes, &signals);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        posix_spawnattr_setflags(
            &m_attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&m_attributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    [[nodiscard]] const posix_spawnattr_t* Get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
};

}  // namespace

UpdaterChild::~UpdaterChild() {
    EndByForce();
}

FileDescriptor UpdaterChild::Start(const std::string& program) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return {};
    }
    FileDescriptor ours(ends[0]);
    const FileDescriptor theirs(ends[1]);
    std::string name = program;
    std::string path = kPath;
    std::string language = kLanguage;
    const std::array<char*, 2> arguments{name.data(), nullptr};
    const std::array<char*, 3> environment{path.data(), language.data(), nullptr};
    pid_t pid = 0;
    const int error = ::posix_spawn(&pid, program.c_str(), SpawnActions(theirs.Get()).Get(),
                                    SpawnAttributes().Get(), arguments.data(), environment.data());
    if (error != 0) {
        errno = error;
        return {};
    }
    m_pid = pid;
    return ours;
}

void UpdaterChild::EndInPeace() {
    if (m_pid != 0) {
        WaitForEnd(kTimeToLeave);
        Finish();
    }
}

void UpdaterChild::EndByForce() {
    if (m_pid != 0) {
        Signal(SIGTERM);
        WaitForEnd(kTimeAfterTermination);
        Finish();
    }
}

/// Whether the child ends in that time. It stays a zombie, so that its number is no other's.
bool UpdaterChild::WaitForEnd(int milliseconds) const {
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

void UpdaterChild::Signal(int signal) const {
    ::kill(-m_pid, signal);
}

/// Ends what is left of the group, and collects the child.
void UpdaterChild::Finish() {
    Signal(SIGKILL);
    while (::waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    m_pid = 0;
}

}  // namespace updturl
