#include "tests/unit/product/libdbmod/database_support.h"

#include <array>
#include <csignal>
#include <grp.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dbmod {

void RunSql(const std::string& path, const std::string& sql) {
    sqlite3* connection = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &connection), SQLITE_OK);
    char* message = nullptr;
    EXPECT_EQ(sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK)
        << (message != nullptr ? message : "") << "\n"
        << sql;
    sqlite3_free(message);
    sqlite3_close(connection);
}

ChildProcess::ChildProcess(const std::function<void()>& inChild) {
    std::array<int, 2> ready{};
    if (pipe(ready.data()) != 0) {
        ADD_FAILURE() << "no pipe";
        return;
    }
    m_pid = fork();
    if (m_pid == 0) {
        close(ready[0]);
        inChild();
        if (write(ready[1], "r", 1) != 1) {
            _exit(1);
        }
        while (true) {
            pause();
        }
    }
    close(ready[1]);
    char c = 0;
    EXPECT_EQ(read(ready[0], &c, 1), 1) << "the child did not get ready";
    close(ready[0]);
}

ChildProcess::~ChildProcess() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
}

DatabaseLock::DatabaseLock(const std::string& path, const char* sql)
    : m_holder([&] {
          sqlite3* connection = nullptr;
          if (sqlite3_open(path.c_str(), &connection) != SQLITE_OK ||
              sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
              _exit(1);
          }
      }) {}

int RunAsNobody(const std::function<int()>& inChild) {
    const pid_t pid = fork();
    if (pid == 0) {
        if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) {
            _exit(125);
        }
        _exit(inChild());
    }
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace dbmod
