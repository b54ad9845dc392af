#include <chrono>
#include <csignal>
#include <fstream>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include "product/libdbmod/password_hash.h"
#include "tests/unit/product/libdbmod/corvane_admin_fixture.h"
#include "tests/unit/product/libdbmod/database_support.h"

// corvane-admin on a terminal of its own, typed at as a person would.

namespace dbmod {
namespace {

constexpr std::chrono::seconds kLimit(20);

/// Like a shell with job control: runs the program in the foreground in a group of its own, and
/// when it is stopped brings it to the foreground again.
void ActAsShell() {
    const pid_t shell = getpid();
    std::signal(SIGTTOU, SIG_IGN);
    const pid_t program = fork();
    if (program == 0) {
        setpgid(0, 0);
        tcsetpgrp(STDIN_FILENO, getpid());
        std::signal(SIGTTOU, SIG_DFL);
        return;
    }
    int status = 0;
    while (waitpid(program, &status, WUNTRACED) == program && WIFSTOPPED(status)) {
        tcsetpgrp(STDIN_FILENO, shell);
        termios settings{};
        tcgetattr(STDIN_FILENO, &settings);
        const bool isBack = (settings.c_lflag & ECHO) != 0;
        dprintf(STDOUT_FILENO, "[stopped, echo %s]", isBack ? "on" : "off");
        tcsetpgrp(STDIN_FILENO, program);
        kill(program, SIGCONT);
    }
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
}

class Terminal {
public:
    explicit Terminal(const char* command, const char* option = nullptr, bool hasShell = false) {
        m_pid = forkpty(&m_master, nullptr, nullptr, nullptr);
        if (m_pid == 0) {
            if (hasShell) {
                ActAsShell();
            }
            // What the test harness may have us ignore is not the program's concern.
            for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP}) {
                std::signal(signal, SIG_DFL);
            }
            execl(ADMIN_PROGRAM, ADMIN_PROGRAM, command, option, nullptr);
            _exit(127);
        }
    }
    ~Terminal() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
        close(m_master);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Waits until `text` has appeared `times` times on the screen.
    bool Shows(const std::string& text, int times = 1) {
        const auto end = std::chrono::steady_clock::now() + kLimit;
        while (Count(text) < times) {
            if (std::chrono::steady_clock::now() > end || !ReadSome(100)) {
                return false;
            }
        }
        return true;
    }

    void Type(const std::string& text) {
        EXPECT_EQ(write(m_master, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    [[nodiscard]] bool Echoes() const {
        termios settings{};
        EXPECT_EQ(tcgetattr(m_master, &settings), 0);
        return (settings.c_lflag & ECHO) != 0;
    }

    /// How many bytes the program has read from anything so far.
    [[nodiscard]] long BytesRead() const {
        std::ifstream counters("/proc/" + std::to_string(m_pid) + "/io");
        std::string name;
        long count = -1;
        counters >> name >> count;
        EXPECT_EQ(name, "rchar:");
        return count;
    }

    void Send(int signal) const { kill(m_pid, signal); }

    /// The wait status at the next change of the child: its end, or a stop.
    int WaitForChange() {
        const auto end = std::chrono::steady_clock::now() + kLimit;
        int status = -1;
        pid_t got = 0;
        while ((got = waitpid(m_pid, &status, WNOHANG | WUNTRACED)) == 0 &&
               std::chrono::steady_clock::now() < end) {
            ReadSome(20);
        }
        if (got == m_pid && !WIFSTOPPED(status)) {
            while (ReadSome(20)) {
            }
            m_pid = -1;
        }
        return status;
    }

    [[nodiscard]] const std::string& Screen() const { return m_screen; }

private:
    [[nodiscard]] int Count(const std::string& text) const {
        int count = 0;
        for (auto at = m_screen.find(text); at != std::string::npos;
             at = m_screen.find(text, at + text.size())) {
            ++count;
        }
        return count;
    }

    /// False at the end of the terminal's output, or when nothing came after the child's end.
    bool ReadSome(int milliseconds) {
        pollfd input{m_master, POLLIN, 0};
        if (poll(&input, 1, milliseconds) <= 0) {
            return m_pid > 0;
        }
        char buffer[1024];
        const ssize_t got = read(m_master, buffer, sizeof buffer);
        if (got <= 0) {
            return false;
        }
        m_screen.append(buffer, static_cast<std::size_t>(got));
        return true;
    }

    int m_master = -1;
    pid_t m_pid = -1;
    std::string m_screen;
};

class CorvaneAdminTerminalTest : public CorvaneAdminTest {};

constexpr char kFirst[] = "New settings password: ";
constexpr char kSecond[] = "The same again: ";

TEST_F(CorvaneAdminTerminalTest, AsksTwiceAndShowsNothingOfThePassword) {
    Terminal terminal("set-password");
    ASSERT_TRUE(terminal.Shows(kFirst)) << terminal.Screen();
    EXPECT_FALSE(terminal.Echoes());
    terminal.Type("hunter2\n");
    ASSERT_TRUE(terminal.Shows(kSecond)) << terminal.Screen();
    EXPECT_FALSE(terminal.Echoes());
    terminal.Type("hunter2\n");
    const int status = terminal.WaitForChange();
    ASSERT_TRUE(WIFEXITED(status)) << terminal.Screen();
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(terminal.Echoes());
    EXPECT_EQ(terminal.Screen(),
              "New settings password: \r\nThe same again: \r\n"
              "The settings password has been set.\r\n");
    EXPECT_EQ(CheckPassword("hunter2", Stored().hash), PasswordCheck::kMatches);
}

TEST_F(CorvaneAdminTerminalTest, TwoDifferentAnswersChangeNothing) {
    SetCheapPassword();
    Terminal terminal("set-password");
    ASSERT_TRUE(terminal.Shows(kFirst));
    terminal.Type("hunter2\n");
    ASSERT_TRUE(terminal.Shows(kSecond));
    terminal.Type("hunter3\n");
    const int status = terminal.WaitForChange();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_NE(terminal.Screen().find("corvane-admin: the two passwords are not the same\r\n"),
              std::string::npos);
    EXPECT_EQ(Stored().hash, kCheapHash);
}

TEST_F(CorvaneAdminTerminalTest, AnEmptyAnswerChangesNothing) {
    SetCheapPassword();
    Terminal terminal("set-password");
    ASSERT_TRUE(terminal.Shows(kFirst));
    terminal.Type("\n");
    const int status = terminal.WaitForChange();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(Stored().hash, kCheapHash);
}

TEST_F(CorvaneAdminTerminalTest, EndOfInputChangesNothing) {
    SetCheapPassword();
    Terminal terminal("set-password");
    ASSERT_TRUE(terminal.Shows(kFirst));
    terminal.Type("\x04");
    const int status = terminal.WaitForChange();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_TRUE(terminal.Echoes());
    EXPECT_EQ(Stored().hash, kCheapHash);
}

TEST_F(CorvaneAdminTerminalTest, ASignalPutsTheTerminalBackAndThenEndsTheProgram) {
    SetCheapPassword();
    for (const int signal : {SIGTERM, SIGHUP, SIGQUIT, SIGINT}) {
        Terminal terminal("set-password");
        ASSERT_TRUE(terminal.Shows(kFirst));
        ASSERT_FALSE(terminal.Echoes());
        terminal.Type("hunter2");
        if (signal == SIGINT) {
            terminal.Type("\x03");
        } else {
            terminal.Send(signal);
        }
        const int status = terminal.WaitForChange();
        ASSERT_TRUE(WIFSIGNALED(status)) << signal;
        EXPECT_EQ(WTERMSIG(status), signal);
        EXPECT_TRUE(terminal.Echoes());
        EXPECT_EQ(terminal.Screen().find("hunter2"), std::string::npos);
        EXPECT_EQ(Stored().hash, kCheapHash);
    }
}

TEST_F(CorvaneAdminTerminalTest, ASignalEndsItInTheMiddleOfALineToo) {
    SetCheapPassword();
    Terminal terminal("set-password");
    ASSERT_TRUE(terminal.Shows(kFirst));
    const long before = terminal.BytesRead();
    terminal.Type("half\x04");
    ASSERT_TRUE(WaitUntil([&] { return terminal.BytesRead() >= before + 4; }, kLimit));
    terminal.Type("\x03");
    const int status = terminal.WaitForChange();
    ASSERT_TRUE(WIFSIGNALED(status)) << terminal.Screen();
    EXPECT_EQ(WTERMSIG(status), SIGINT);
    EXPECT_TRUE(terminal.Echoes());
    EXPECT_EQ(terminal.Screen().find("half"), std::string::npos);
    EXPECT_EQ(Stored().hash, kCheapHash);
}

TEST_F(CorvaneAdminTerminalTest, StoppedAndContinuedItAsksAgain) {
    Terminal terminal("set-password", nullptr, true);
    ASSERT_TRUE(terminal.Shows(kFirst));
    terminal.Type("half");
    terminal.Type("\x1a");
    ASSERT_TRUE(terminal.Shows("[stopped, echo on]")) << terminal.Screen();
    ASSERT_TRUE(terminal.Shows(kFirst, 2)) << terminal.Screen();
    EXPECT_FALSE(terminal.Echoes());
    terminal.Type("hunter2\n");
    ASSERT_TRUE(terminal.Shows(kSecond));
    terminal.Type("hunter2\n");
    const int status = terminal.WaitForChange();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(CheckPassword("hunter2", Stored().hash), PasswordCheck::kMatches);
}

TEST_F(CorvaneAdminTerminalTest, WithStdinOneLineIsReadUnaskedAndNotShown) {
    Terminal terminal("set-password", "--stdin");
    ASSERT_TRUE(WaitUntil([&] { return !terminal.Echoes(); }, kLimit));
    terminal.Type("hunter2\n");
    const int status = terminal.WaitForChange();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(terminal.Echoes());
    EXPECT_EQ(terminal.Screen(), "\r\nThe settings password has been set.\r\n");
    EXPECT_EQ(CheckPassword("hunter2", Stored().hash), PasswordCheck::kMatches);
}

TEST_F(CorvaneAdminTerminalTest, WithStdinASignalPutsTheTerminalBackToo) {
    SetCheapPassword();
    Terminal terminal("set-password", "--stdin");
    ASSERT_TRUE(WaitUntil([&] { return !terminal.Echoes(); }, kLimit));
    terminal.Type("hunter2\x03");
    const int status = terminal.WaitForChange();
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGINT);
    EXPECT_TRUE(terminal.Echoes());
    EXPECT_EQ(Stored().hash, kCheapHash);
}

TEST_F(CorvaneAdminTerminalTest, TakesEveryByteOfAnAnswerOrNone) {
    struct Case {
        std::string typed;
        const char* objection;  // or null: the password is taken
    };
    const Case cases[] = {
        {"\xff\xfe\xe4", nullptr},
        {std::string(511, 'x'), nullptr},
        {std::string(512, 'x'), "the password is longer than 511 bytes"},
        {std::string(3000, 'x'), "the password is longer than 511 bytes"},
        {std::string("ab\0cd", 5), "the password holds a zero byte"},
    };
    for (const Case& each : cases) {
        SetCheapPassword();
        Terminal terminal("set-password");
        ASSERT_TRUE(terminal.Shows(kFirst));
        terminal.Type(each.typed + "\n");
        if (each.objection == nullptr) {
            ASSERT_TRUE(terminal.Shows(kSecond));
            terminal.Type(each.typed + "\n");
        }
        const int status = terminal.WaitForChange();
        ASSERT_TRUE(WIFEXITED(status));
        if (each.objection == nullptr) {
            EXPECT_EQ(WEXITSTATUS(status), 0);
            EXPECT_EQ(CheckPassword(each.typed.c_str(), Stored().hash), PasswordCheck::kMatches);
        } else {
            EXPECT_EQ(WEXITSTATUS(status), 1);
            EXPECT_NE(terminal.Screen().find(each.objection), std::string::npos);
            EXPECT_EQ(Stored().hash, kCheapHash);
        }
    }
}

TEST_F(CorvaneAdminTerminalTest, ADatabaseThatCannotBeUsedIsReportedBeforeTheQuestion) {
    WriteFile(kDatabase, "not a database");
    Terminal terminal("set-password");
    const int status = terminal.WaitForChange();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(terminal.Screen().find(kFirst), std::string::npos);
}

}  // namespace
}  // namespace dbmod
