#include "tests/support/traced_program.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <unistd.h>

#include "tests/support/scratch.h"

namespace {

// The undefined-behaviour sanitizer asks whether memory can be read by writing it to a pipe made
// for that. Such a pair of calls is none of the program's.
bool IsProbe(const std::string& line, const std::string& before) {
    const std::size_t comma = before.find(", ");
    return before.starts_with("pipe2([") && before.find("], 0)") != std::string::npos &&
           line.starts_with("write(" + before.substr(comma + 2, before.find(']') - comma - 2) +
                            ",");
}

std::vector<SystemCall> Read(const std::string& path, bool isMarked, const IsCallWanted& isWanted) {
    std::vector<SystemCall> calls;
    std::map<std::string, int> seen;
    bool isInside = !isMarked;
    std::ifstream trace(path);
    std::string before;
    for (std::string line; std::getline(trace, line); before = line) {
        const std::string name = line.substr(0, line.find('('));
        if (name == line) {
            continue;  // a signal, or the end
        }
        const int number = ++seen[name];
        if (isMarked && name == "getppid") {
            isInside = !isInside;
        } else if (IsProbe(line, before)) {
            if (!calls.empty() && calls.back().name == "pipe2" &&
                calls.back().number == seen["pipe2"]) {
                calls.pop_back();
            }
        } else if (isInside && isWanted(name, line)) {
            calls.push_back({name, number});
        }
    }
    return isMarked && isInside ? std::vector<SystemCall>() : calls;
}

}  // namespace

bool CanTrace() {
    return RunTraced({"-o", "/dev/null"}, {"true"}) == 0;
}

std::vector<std::string> TracedCommand(const std::vector<std::string>& options,
                                       const std::vector<std::string>& program) {
    // The leak sanitizer cannot work in a process that is traced.
    std::vector<std::string> command{"strace", "-E", "ASAN_OPTIONS=detect_leaks=0"};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), program.begin(), program.end());
    return command;
}

int RunTraced(const std::vector<std::string>& options, const std::vector<std::string>& program) {
    return InChild([&] {
        std::vector<std::string> command = TracedCommand(options, program);
        const int silent = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        ::dup2(silent, STDERR_FILENO);
        return Become(command);
    });
}

int RunInjected(const SystemCall& call, const std::string& what,
                const std::vector<std::string>& program) {
    return RunTraced({"-o", "/dev/null", "-e", call.Injecting(what)}, program);
}

bool ChangesFiles(std::string_view name, std::string_view line) {
    static const std::set<std::string_view> kChanging{
        "write",     "pwrite64",  "writev",          "ftruncate", "fallocate", "fsync",
        "fdatasync", "chmod",     "fchmod",          "fchmodat",  "mkdir",     "mkdirat",
        "chown",     "fchown",    "fchownat",        "rmdir",     "link",      "linkat",
        "unlink",    "unlinkat",  "rename",          "renameat",  "renameat2", "symlink",
        "symlinkat", "utimensat", "sync_file_range", "bind"};
    return name == "openat" ? line.find("O_CREAT") != std::string_view::npos ||
                                  line.find("O_TRUNC") != std::string_view::npos
                            : kChanging.contains(name);
}

std::vector<SystemCall> CallsIn(const std::string& path, const IsCallWanted& isWanted) {
    return Read(path, false, isWanted);
}

std::vector<SystemCall> MarkedCallsIn(const std::string& path, const IsCallWanted& isWanted) {
    return Read(path, true, isWanted);
}

std::vector<std::size_t> Spread(std::size_t all, std::size_t most, const std::string& things) {
    const bool isEvery = all <= most || std::getenv("CORVANE_EVERY_POINT") != nullptr;
    std::vector<std::size_t> chosen;
    for (std::size_t i = 0; i < (isEvery ? all : most); ++i) {
        chosen.push_back(isEvery ? i : i * (all - 1) / (most - 1));
    }
    std::cout << chosen.size() << " of " << all << " " << things << "\n";
    return chosen;
}
