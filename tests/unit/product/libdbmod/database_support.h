#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

#include "tests/support/scratch.h"

namespace dbmod {

// What the tests of the settings database share.

/// The yescrypt hash of "correct horse" at the lowest cost, made by another program.
inline constexpr char kCheapHash[] =
    "$y$j7T$abcdefghijklmnopqrstu.$uaGeRFwc53EVmeDt8UH07UWepJIIhoy2F7ac4m.ntnC";
inline constexpr char kCheapPassword[] = "correct horse";

inline constexpr uid_t kNobody = 65534;

/// Runs SQL on the database, with nothing of the code under test; the failing statement fails the
/// test.
void RunSql(const std::string& path, const std::string& sql);

/// A child process that runs `inChild`, tells that it is ready, and lives until it is destroyed.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<void()>& inChild);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

private:
    pid_t m_pid = -1;
};

/// A process that holds the database as a writer in mid-commit does.
class DatabaseLock {
public:
    explicit DatabaseLock(const std::string& path, const char* sql = "BEGIN EXCLUSIVE");

private:
    ChildProcess m_holder;
};

/// The exit status of `inChild`, run in a process of another user.
int RunAsNobody(const std::function<int()>& inChild);

}  // namespace dbmod
