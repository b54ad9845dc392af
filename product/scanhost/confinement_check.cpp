#include "product/scanhost/confinement_check.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/retrying.h"
#include "common/users.h"
#include "product/scanhost/confinement.h"
#include "product/scanhost/refused_calls.h"

namespace scanhost {

namespace {

/// What no worker may be able to do.
struct Attempt {
    std::string_view name;
    bool (*succeeds)();
};

constexpr std::array<Attempt, 5> kAttempts{{
    {"read a file of the system", [] { return ::open("/etc/passwd", O_RDONLY | O_CLOEXEC) >= 0; }},
    {"open a network connection", [] { return ::socket(AF_INET, SOCK_STREAM, 0) >= 0; }},
    {"start a process", [] { return ::fork() >= 0; }},
    {"send a signal to another process", [] { return ::kill(::getppid(), 0) == 0; }},
    {"run code that it was not built with",
     [] {
         return ::mmap(nullptr, 1, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) !=
                MAP_FAILED;
     }},
}};

enum Exit { kRefused = 0, kSucceeded = 1, kNotConfined = 2 };

std::string Outcome(const Confinement& confinement, const Attempt& attempt) {
    const pid_t host = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) {
        return std::string("not tried: ") + std::strerror(errno);
    }
    if (child == 0) {
        const bool isConfined = confinement.Enter(0, host).empty();
        ::_exit(!isConfined ? kNotConfined : attempt.succeeds() ? kSucceeded : kRefused);
    }
    int status = 0;
    common::Retrying([&] { return ::waitpid(child, &status, 0); });
    confinement.Clear(0);
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGSYS ? "no, it is ended for it" : "no, it crashes";
    }
    switch (WEXITSTATUS(status)) {
        case kRefused:
            return "no";
        case kSucceeded:
            return "YES";
        default:
            return "not tried: a worker could not be confined";
    }
}

std::string Described(const Confinement& confinement) {
    std::string report;
    for (const PartState& part : confinement.Parts()) {
        report += part.name + ": " +
                  (part.missing.empty() ? "holds" : "missing (" + part.missing + ')') + '\n';
    }
    report += "workers run as: " +
              common::UserName(confinement.User()).value_or(std::to_string(confinement.User())) +
              '\n';
    report += "room to unpack: " +
              (confinement.ScratchMiB() != 0
                   ? std::to_string(confinement.ScratchMiB()) + " MiB of memory for each worker\n"
                   : std::string("a folder for each worker\n"));
    report += std::string("refused memory: ") +
              (NotesRefusedMemory() ? "noted\n" : "left to the sanitizer\n");
    for (const std::string& line : confinement.Missing()) {
        report += "note: " + line + '\n';
    }
    return report;
}

}  // namespace

std::string CheckReport() {
    std::string why;
    const auto confinement = Confinement::Prepare({}, why);
    if (confinement == nullptr) {
        return "no worker can be confined: " + why + '\n';
    }
    std::string report = Described(*confinement);
    for (const Attempt& attempt : kAttempts) {
        report += "can a worker " + std::string(attempt.name) + ": " +
                  Outcome(*confinement, attempt) + '\n';
    }
    return report;
}

}  // namespace scanhost
