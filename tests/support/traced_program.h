#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Programs under strace: which system calls they make, and what they do when one of them kills them
// or fails.

/// One system call of a process: the so many-th of its name since the process began.
struct SystemCall {
    std::string name;
    int number = 0;

    /// The option of strace by which this call meets with `what`, as "signal=KILL".
    [[nodiscard]] std::string Injecting(const std::string& what) const {
        return "inject=" + name + ":" + what + ":when=" + std::to_string(number);
    }
};

/// Whether strace is there and may look at processes.
bool CanTrace();

/// `program`, with its arguments, under strace.
std::vector<std::string> TracedCommand(const std::vector<std::string>& options,
                                       const std::vector<std::string>& program);

/// Runs it, without what it says on standard error; its exit status, -1 when a signal ended it.
int RunTraced(const std::vector<std::string>& options, const std::vector<std::string>& program);

/// Runs it so that `call` meets with `what`.
int RunInjected(const SystemCall& call, const std::string& what,
                const std::vector<std::string>& program);

/// Whether a call of this name, written out as `line`, changes files or puts them on the disk.
bool ChangesFiles(std::string_view name, std::string_view line);

using IsCallWanted = std::function<bool(std::string_view name, std::string_view line)>;

/// Of what strace wrote to `path` about one process those calls that are wanted.
std::vector<SystemCall> CallsIn(const std::string& path, const IsCallWanted& isWanted);

/// The same of what stands between the first two calls of getppid(); empty without the second.
std::vector<SystemCall> MarkedCallsIn(const std::string& path, const IsCallWanted& isWanted);

/// At most `most` of that many things, by their numbers and evenly spread; all of them when
/// CORVANE_EVERY_POINT is set. Says on standard output of how many `things` they are.
std::vector<std::size_t> Spread(std::size_t all, std::size_t most, const std::string& things);
