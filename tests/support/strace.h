#pragma once

#include <fcntl.h>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "tests/support/scratch.h"

// Programs whose system calls are listed, killed or refused one by one, by strace.

/// One system call of a program: the so many-th of its name since the start.
struct TracedCall {
    std::string name;
    int number;

    /// The option of strace that does `what` at this call, as "signal=KILL" or "error=EIO".
    [[nodiscard]] std::string Injecting(const std::string& what) const {
        return "inject=" + name + ":" + what + ":when=" + std::to_string(number);
    }
};

/// Runs `program` with its arguments under strace with `options`: its exit status, -1 when it was
/// killed. What it says is thrown away.
inline int RunTraced(std::vector<std::string> options, const std::vector<std::string>& program) {
    return InChild([&] {
        // The leak sanitizer cannot work in a process that is traced.
        options.insert(options.begin(), {"strace", "-E", "ASAN_OPTIONS=detect_leaks=0"});
        options.insert(options.end(), program.begin(), program.end());
        std::vector<char*> arguments;
        arguments.reserve(options.size() + 1);
        for (std::string& word : options) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        const int silent = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        ::dup2(silent, STDERR_FILENO);
        ::execvp("strace", arguments.data());
        return 77;
    });
}

/// Whether there is a strace that may look at processes.
inline bool CanTrace() {
    return RunTraced({"-o", "/dev/null"}, {"true"}) == 0;
}

/// The calls in a trace, written by "strace -o", that the program makes between its first and its
/// second getppid() and that `isWanted` picks by their line.
inline std::vector<TracedCall> CallsBetweenMarks(
    const std::string& path, const std::function<bool(const std::string& line)>& isWanted) {
    std::vector<TracedCall> calls;
    std::map<std::string, int> seen;
    bool isInside = false;
    std::ifstream trace(path);
    for (std::string line; std::getline(trace, line);) {
        const std::string name = line.substr(0, line.find('('));
        const int number = ++seen[name];
        if (name == "getppid") {
            isInside = !isInside;
        } else if (isInside && isWanted(line)) {
            calls.push_back({name, number});
        }
    }
    return calls;
}
