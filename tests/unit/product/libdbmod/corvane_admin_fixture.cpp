#include "tests/unit/product/libdbmod/corvane_admin_fixture.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/unit/product/libdbmod/database_support.h"

namespace fs = std::filesystem;

namespace dbmod {

void CorvaneAdminTest::SetUp() {
    if (std::getenv("CORVANE_SANDBOX") == nullptr) {
        GTEST_SKIP() << "the product directory is touched in the sandbox only";
    }
    if (geteuid() != 0) {
        GTEST_SKIP() << "corvane-admin works for root only";
    }
    fs::create_directories(kProduct);
    fs::remove(kDatabase);
    fs::remove(std::string(kDatabase) + "-journal");
    ASSERT_TRUE(CreateDatabase(kDatabase).IsOk());
}

void CorvaneAdminTest::SetCheapPassword() {
    ASSERT_TRUE(WritePasswordState(kDatabase, {kCheapHash, 1'700'000'000}).IsOk());
}

PasswordState CorvaneAdminTest::Stored() {
    PasswordState state{"unreadable", 0};
    EXPECT_TRUE(ReadPasswordState(kDatabase, DatabaseAccess::kReadOnly, state).IsOk());
    return state;
}

Outcome RunAdmin(std::vector<std::string> arguments, const std::string& input,
                 const std::string& program) {
    std::array<std::array<int, 2>, 3> pipes{};
    for (auto& ends : pipes) {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            ADD_FAILURE() << "no pipe";
            return {};
        }
    }
    arguments.insert(arguments.begin(), program);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);

    const pid_t pid = fork();
    if (pid == 0) {
        dup2(pipes[0][0], STDIN_FILENO);
        dup2(pipes[1][1], STDOUT_FILENO);
        dup2(pipes[2][1], STDERR_FILENO);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    common::FileDescriptor toChild(pipes[0][1]);
    const common::FileDescriptor output(pipes[1][0]);
    const common::FileDescriptor errors(pipes[2][0]);
    close(pipes[0][0]);
    close(pipes[1][1]);
    close(pipes[2][1]);
    std::signal(SIGPIPE, SIG_IGN);
    EXPECT_LE(input.size(), 65536U) << "more than the pipe holds";
    if (!input.empty() &&
        write(toChild.Get(), input.data(), input.size()) != static_cast<ssize_t>(input.size())) {
        EXPECT_EQ(errno, EPIPE);
    }
    toChild.Reset();

    Outcome outcome;
    const auto readAll = [](int fd, std::string& text) {
        std::array<char, 4096> buffer{};
        ssize_t got = 0;
        while ((got = read(fd, buffer.data(), buffer.size())) > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(got));
        }
    };
    readAll(output.Get(), outcome.output);
    readAll(errors.Get(), outcome.errors);
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    outcome.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

}  // namespace dbmod
