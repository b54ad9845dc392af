#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "product/libdbmod/password_hash.h"
#include "tests/unit/product/libdbmod/admin_test_support.h"
#include "tests/unit/product/libdbmod/support.h"

namespace fs = std::filesystem;

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
    EXPECT_TRUE(ReadPasswordState(kDatabase, DatabaseAccess::ReadOnly, state).IsOk());
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
    FileDescriptor toChild(pipes[0][1]);
    const FileDescriptor output(pipes[1][0]);
    const FileDescriptor errors(pipes[2][0]);
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

namespace {

constexpr char kUnchanged[] = "The settings password is unchanged.\n";

TEST_F(CorvaneAdminTest, SetsChangesAndClearsThePassword) {
    Outcome run = RunAdmin({"set-password"}, "first secret\n");
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The settings password has been set.\n");
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(CheckPassword("first secret", Stored().hash), PasswordCheck::Matches);
    EXPECT_LT(std::llabs(Stored().changedAt - std::time(nullptr)), 60);

    run = RunAdmin({"set-password"}, "second secret\n");
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The settings password has been changed.\n");
    EXPECT_EQ(CheckPassword("second secret", Stored().hash), PasswordCheck::Matches);
    EXPECT_EQ(CheckPassword("first secret", Stored().hash), PasswordCheck::Differs);

    run = RunAdmin({"clear-password"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The settings password has been cleared.\n");
    EXPECT_FALSE(Stored().IsSet());
}

TEST_F(CorvaneAdminTest, ShowsWhetherAPasswordIsSet) {
    EXPECT_EQ(RunAdmin({"status"}).output, "No settings password is set.\n");
    SetCheapPassword();
    const Outcome run = RunAdmin({"status"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "A settings password is set (last changed 2023-11-14 22:13:20 +0000).\n");
}

TEST_F(CorvaneAdminTest, ReadsOneLineOfStandardInput) {
    for (const char* input : {"secret\n", "secret", "secret\nsecond line\n"}) {
        EXPECT_EQ(RunAdmin({"set-password", "--stdin"}, input).exitStatus, 0);
        EXPECT_EQ(CheckPassword("secret", Stored().hash), PasswordCheck::Matches) << input;
    }
    EXPECT_EQ(RunAdmin({"set-password"}, " blanks kept \t\r\n").exitStatus, 0);
    EXPECT_EQ(CheckPassword(" blanks kept \t\r", Stored().hash), PasswordCheck::Matches);
}

TEST_F(CorvaneAdminTest, TakesPasswordsUpTo511Bytes) {
    const std::string longest(511, 'x');
    EXPECT_EQ(RunAdmin({"set-password"}, longest + "\n").exitStatus, 0);
    EXPECT_EQ(CheckPassword(longest.c_str(), Stored().hash), PasswordCheck::Matches);
}

TEST_F(CorvaneAdminTest, RefusesWhatIsNoPassword) {
    SetCheapPassword();
    const std::pair<std::string, std::string> cases[] = {
        {"", "corvane-admin: no password was given\n"},
        {"\n",
         "corvane-admin: the password is empty; to remove it use \"corvane-admin "
         "clear-password\"\n"},
        {std::string(512, 'x') + "\n", "corvane-admin: the password is longer than 511 bytes\n"},
        {std::string(60'000, 'x'), "corvane-admin: the password is longer than 511 bytes\n"},
        {std::string("ab\0cd\n", 6), "corvane-admin: the password holds a zero byte\n"},
    };
    for (const auto& [input, message] : cases) {
        const Outcome run = RunAdmin({"set-password"}, input);
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_EQ(run.errors, message);
        EXPECT_EQ(Stored().hash, kCheapHash);
    }
}

TEST_F(CorvaneAdminTest, TakesNoPasswordFromItsArgumentsAndRepeatsNone) {
    SetCheapPassword();
    const std::vector<std::string> wrong[] = {
        {"set-password", "hunter2"},
        {"set-password", "--stdin", "hunter2"},
        {"set-password", "--password=hunter2"},
        {"clear-password", "hunter2"},
        {"status", "hunter2"},
        {"init", "hunter2"},
        {"hunter2"},
        {"--help", "hunter2"},
        {},
    };
    for (const auto& arguments : wrong) {
        const Outcome run = RunAdmin(arguments, "other\n");
        EXPECT_EQ(run.exitStatus, 2);
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.errors.substr(0, 27), "Usage: corvane-admin set-pa");
        EXPECT_EQ(run.errors.find("hunter2"), std::string::npos);
        EXPECT_EQ(Stored().hash, kCheapHash);
    }
}

TEST_F(CorvaneAdminTest, OnlyRootMayUseIt) {
    SetCheapPassword();
    const std::string program = std::string(kProduct) + "/corvane-admin-copy";
    fs::copy_file(ADMIN_PROGRAM, program, fs::copy_options::overwrite_existing);
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);
    for (const char* command : {"set-password", "clear-password", "status", "init"}) {
        EXPECT_EQ(RunAsNobody([&] {
                      const Outcome run = RunAdmin({command}, "secret\n", program);
                      return run.exitStatus == 1 && run.output.empty() &&
                                     run.errors ==
                                         "corvane-admin: only root can manage the settings "
                                         "password\n"
                                 ? 0
                                 : 1;
                  }),
                  0)
            << command;
    }
    EXPECT_EQ(Stored().hash, kCheapHash);
    fs::remove(program);
}

TEST_F(CorvaneAdminTest, HelpAndVersionNameTheCommands) {
    const Outcome help = RunAdmin({"--help"});
    EXPECT_EQ(help.exitStatus, 0);
    for (const char* command :
         {"set-password [--stdin]", "clear-password", "status", "init", "--help | --version"}) {
        EXPECT_NE(help.output.find(command), std::string::npos) << command;
    }
    EXPECT_EQ(RunAdmin({"--version"}).output.substr(0, 14), "corvane-admin ");
}

TEST_F(CorvaneAdminTest, ManualDescribesEveryCommand) {
    const std::string manual = ReadFile(ADMIN_MANUAL);
    for (const char* text : {"set-password", "clear-password", "status", "init", "stdin",
                             "/usr/lib/Corvane/Corvane/settings.db", "yescrypt"}) {
        EXPECT_NE(manual.find(text), std::string::npos) << text;
    }
}

TEST_F(CorvaneAdminTest, InitMakesADatabaseOnceAndKeepsIt) {
    fs::remove(kDatabase);
    Outcome run = RunAdmin({"init"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The settings database has been made; no password is set.\n");
    EXPECT_FALSE(Stored().IsSet());
    struct stat info {};
    ASSERT_EQ(stat(kDatabase, &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0644U);
    EXPECT_EQ(info.st_uid, 0U);

    SetCheapPassword();
    run = RunAdmin({"init"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The settings database is already there.\n");
    EXPECT_EQ(Stored().hash, kCheapHash);
}

TEST_F(CorvaneAdminTest, InitReplacesNoDamagedDatabase) {
    WriteFile(kDatabase, "not a database");
    const Outcome run = RunAdmin({"init"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.errors,
              "corvane-admin: the settings database is damaged; move it away and run "
              "\"corvane-admin init\": /usr/lib/Corvane/Corvane/settings.db\n");
    EXPECT_EQ(ReadFile(kDatabase), "not a database");
}

TEST_F(CorvaneAdminTest, InitWithoutAProductDirectorySaysSo) {
    fs::remove_all(kProduct);
    const Outcome run = RunAdmin({"init"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.errors,
              "corvane-admin: there is no product directory: /usr/lib/Corvane/Corvane/\n");
    EXPECT_FALSE(fs::exists(kProduct));
}

TEST_F(CorvaneAdminTest, AMissingDatabaseIsNotMadeByTheWay) {
    fs::remove(kDatabase);
    for (const char* command : {"set-password", "clear-password", "status"}) {
        const Outcome run = RunAdmin({command}, "secret\n");
        EXPECT_EQ(run.exitStatus, 1) << command;
        EXPECT_TRUE(run.errors.starts_with(
            "corvane-admin: there is no settings database; \"corvane-admin init\" makes one: "
            "/usr/lib/Corvane/Corvane/settings.db\n"))
            << command << ": " << run.errors;
        EXPECT_FALSE(fs::exists(kDatabase));
    }
}

TEST_F(CorvaneAdminTest, ALinkIsLeftAlone) {
    const std::string real = std::string(kProduct) + "/real.db";
    fs::rename(kDatabase, real);
    fs::create_symlink(real, kDatabase);
    const std::string before = ReadFile(real);
    for (const char* command : {"set-password", "clear-password", "status", "init"}) {
        const Outcome run = RunAdmin({command}, "secret\n");
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_NE(run.errors.find("is a link, no plain file, a stranger's or writable by others"),
                  std::string::npos);
    }
    EXPECT_EQ(ReadFile(real), before);
    fs::remove(real);
}

TEST_F(CorvaneAdminTest, ALockedDatabaseKeepsTheOldPassword) {
    SetCheapPassword();
    {
        const DatabaseLock lock(kDatabase, "BEGIN; SELECT count(*) FROM settings_password");
        for (const char* command : {"set-password", "clear-password"}) {
            const Outcome run = RunAdmin({command}, "secret\n");
            EXPECT_EQ(run.exitStatus, 1);
            EXPECT_EQ(run.errors,
                      std::string("corvane-admin: the settings database is in use by another "
                                  "process; try again: /usr/lib/Corvane/Corvane/settings.db\n") +
                          kUnchanged);
        }
    }
    EXPECT_EQ(Stored().hash, kCheapHash);
}

TEST_F(CorvaneAdminTest, AFullDiskKeepsTheOldPassword) {
    if (mount("corvane-test", kProduct, "tmpfs", 0, "size=24k,mode=755") != 0) {
        GTEST_SKIP() << "no small file system can be mounted here";
    }
    ASSERT_TRUE(CreateDatabase(kDatabase).IsOk());
    SetCheapPassword();
    {
        const FileDescriptor filler(open((std::string(kProduct) + "/filler").c_str(),
                                         O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        const std::string page(4096, 'x');
        while (write(filler.Get(), page.data(), page.size()) > 0) {
        }
    }
    for (const char* command : {"set-password", "clear-password"}) {
        const Outcome run = RunAdmin({command}, "secret\n");
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_EQ(run.errors,
                  std::string("corvane-admin: there is no room left on the disk for the settings "
                              "database: /usr/lib/Corvane/Corvane/settings.db\n") +
                      kUnchanged);
        EXPECT_EQ(Stored().hash, kCheapHash);
    }
    EXPECT_EQ(RunAdmin({"status"}).exitStatus, 0);
    fs::remove(kDatabase);
    const Outcome run = RunAdmin({"init"});
    EXPECT_EQ(run.exitStatus, 1)
        << "the room of the old database is too little for the journal too";
    EXPECT_FALSE(fs::exists(kDatabase)) << "no half-made database";
    fs::remove(std::string(kProduct) + "/filler");
    EXPECT_EQ(RunAdmin({"init"}).exitStatus, 0);
    umount2(kProduct, MNT_DETACH);
}

TEST_F(CorvaneAdminTest, StaysReadableByAllWhateverTheMask) {
    const mode_t old = umask(0077);
    EXPECT_EQ(RunAdmin({"set-password"}, "secret\n").exitStatus, 0);
    umask(old);
    struct stat info {};
    ASSERT_EQ(stat(kDatabase, &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0644U);
    EXPECT_EQ(info.st_uid, 0U);
}

TEST_F(CorvaneAdminTest, AReaderSeesTheOldOrTheNewPasswordWhileItWrites) {
    SetCheapPassword();
    std::atomic<bool> done = false;
    int wrong = 0;
    int withPassword = 0;
    int without = 0;
    std::thread reader([&] {
        while (!done) {
            PasswordState state;
            const DatabaseStatus status =
                ReadPasswordState(kDatabase, DatabaseAccess::ReadOnly, state).status;
            if (status == DatabaseStatus::Ok) {
                ++(state.IsSet() ? withPassword : without);
                wrong += state.IsSet() && state.hash != kCheapHash ? 1 : 0;
            } else {
                wrong += status != DatabaseStatus::Locked ? 1 : 0;
            }
        }
    });
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(RunAdmin({"clear-password"}).exitStatus, 0);
        SetCheapPassword();
    }
    done = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(withPassword, 0);
    EXPECT_GT(without, 0);
}

TEST_F(CorvaneAdminTest, KilledAtAnyMomentItLeavesTheOldOrTheNewPassword) {
    SetCheapPassword();
    for (int round = 0; round < 60; ++round) {
        const pid_t pid = fork();
        if (pid == 0) {
            dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
            execl(ADMIN_PROGRAM, ADMIN_PROGRAM, "clear-password", nullptr);
            _exit(127);
        }
        usleep(static_cast<useconds_t>(500 + round * 50));  // A different moment each time.
        kill(pid, SIGKILL);
        ASSERT_EQ(waitpid(pid, nullptr, 0), pid);

        const Outcome run = RunAdmin({"status"});
        ASSERT_EQ(run.exitStatus, 0) << run.errors;
        const PasswordState state = Stored();
        EXPECT_TRUE(state.hash == kCheapHash || state.hash.empty()) << state.hash;
        EXPECT_EQ(state.hash.empty(), run.output.starts_with("No settings password is set"));
        SetCheapPassword();
    }
}

}  // namespace
