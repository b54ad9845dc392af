#include "product/schdlscn/owned_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <linux/ioprio.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/retrying.h"

namespace schdlscn {

namespace {

constexpr int kReport = 3;
constexpr int kResult = 4;
constexpr int kFirstOther = 5;
constexpr int kNice = 10;
constexpr std::size_t kMostOfEntry = std::size_t{64} * 1024;

std::vector<gid_t> GroupsOf(const char* name, gid_t gid) {
    int count = 64;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    if (::getgrouplist(name, gid, groups.data(), &count) < 0) {
        groups.resize(static_cast<std::size_t>(count));
        if (::getgrouplist(name, gid, groups.data(), &count) < 0) {
            return {gid};
        }
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

/// In the child: puts the descriptors in their places, above all of which it moves them first.
bool PlaceFiles(const GivenFiles& files) {
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    const std::array<std::pair<int, int>, 5> places{{{nothing, STDIN_FILENO},
                                                     {nothing, STDOUT_FILENO},
                                                     {files.errors, STDERR_FILENO},
                                                     {files.report, kReport},
                                                     {files.result, kResult}}};
    std::array<int, places.size()> moved{};
    for (std::size_t i = 0; i < places.size(); ++i) {
        moved[i] = ::fcntl(places[i].first, F_DUPFD_CLOEXEC, kFirstOther);
        if (moved[i] < 0) {
            return false;
        }
    }
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (::dup2(moved[i], places[i].second) < 0) {
            return false;
        }
    }
    return ::close_range(kFirstOther, ~0U, 0) == 0;
}

void ResetSignals() {
    for (int signal = 1; signal < NSIG; ++signal) {
        std::signal(signal, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool GiveWay() {
    const rlimit noCore{0, 0};
    return ::setpriority(PRIO_PROCESS, 0, kNice) == 0 &&
           ::syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, 0,
                     IOPRIO_PRIO_VALUE(IOPRIO_CLASS_IDLE, 0)) == 0 &&
           ::setrlimit(RLIMIT_CORE, &noCore) == 0;
}

bool Become(const Owner& owner) {
    const bool isRoot = ::geteuid() == 0;
    return (!isRoot || (::setgroups(owner.groups.size(), owner.groups.data()) == 0 &&
                        ::setresgid(owner.gid, owner.gid, owner.gid) == 0 &&
                        ::setresuid(owner.uid, owner.uid, owner.uid) == 0)) &&
           ::getuid() == owner.uid && ::geteuid() == owner.uid &&
           ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
}

/// After the change of users, which forgets it.
bool EndWith(pid_t parent) {
    return ::prctl(PR_SET_PDEATHSIG, SIGTERM) == 0 && ::getppid() == parent;
}

[[noreturn]] void RunChild(const Owner& owner, char* const* words, char* const* environment,
                           const GivenFiles& files, pid_t parent) {
    ::umask(077);
    const bool isReady = ::setsid() >= 0 && PlaceFiles(files) && GiveWay() && Become(owner) &&
                         EndWith(parent) && ::chdir("/") == 0;
    if (isReady) {
        ResetSignals();
        ::execve(words[0], words, environment);
    }
    ::dprintf(STDERR_FILENO, "%s: %s\n", words[0], std::strerror(errno));
    ::_exit(OwnedProcess::kNotExecuted);
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

std::optional<Owner> OwnerOf(uid_t uid, const std::string& name) {
    std::vector<char> buffer(kMostOfEntry);
    passwd entry{};
    passwd* found = nullptr;
    const int error = common::Retrying(
        [&] { return ::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found); });
    if (error != 0 || found == nullptr || name != entry.pw_name) {
        return std::nullopt;
    }
    return Owner{uid, entry.pw_gid, GroupsOf(entry.pw_name, entry.pw_gid), name, entry.pw_dir};
}

OwnedProcess::~OwnedProcess() {
    if (m_pid != 0) {
        Signal(SIGKILL);
        (void)common::Retrying([&] { return ::waitpid(m_pid, nullptr, 0); });
    }
}

bool OwnedProcess::Start(const Owner& owner, std::vector<std::string> words,
                         const GivenFiles& files, const std::vector<std::string>& variables) {
    // The labels of a report are looked up in the locale of the environment. This one every machine
    // has; which catalogue is read in it, the other variable says.
    std::vector<std::string> environment{"PATH=/usr/bin:/bin", "LANG=C.UTF-8",
                                         "LANGUAGE=en",        "HOME=" + owner.home,
                                         "USER=" + owner.name, "LOGNAME=" + owner.name};
    environment.insert(environment.end(), variables.begin(), variables.end());
    const std::vector<char*> wordPointers = Pointers(words);
    const std::vector<char*> environmentPointers = Pointers(environment);
    const pid_t parent = ::getpid();
    const pid_t pid = ::fork();
    if (pid == 0) {
        RunChild(owner, wordPointers.data(), environmentPointers.data(), files, parent);
    }
    if (pid < 0) {
        return false;
    }
    m_pid = pid;
    m_descriptor.Reset(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    return m_descriptor.IsOpen();
}

void OwnedProcess::Signal(int signal) const {
    // The session is made by the child; until then there is no group of that number.
    if (m_pid != 0 && ::kill(-m_pid, signal) != 0) {
        (void)::kill(m_pid, signal);
    }
}

std::optional<int> OwnedProcess::Ended() {
    siginfo_t info{};
    if (m_pid == 0 ||
        ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
        info.si_pid == 0) {
        return std::nullopt;
    }
    Signal(SIGKILL);  // what it has left behind
    int status = 0;
    (void)common::Retrying([&] { return ::waitpid(m_pid, &status, 0); });
    m_pid = 0;
    return status;
}

}  // namespace schdlscn
