#include "product/libdbmod/admin/password_input.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace dbmod {

namespace {

// SIGTTIN and SIGTTOU keep their own effect: in the background the program is stopped before it
// touches the terminal.
constexpr std::array kTerminalSignals = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP};

volatile std::sig_atomic_t g_caughtSignal = 0;

void NoteSignal(int signal) {
    g_caughtSignal = signal;
}

/// Holds the signals back, except while waiting for input, and notes the one that came.
class HeldSignals {
public:
    HeldSignals() {
        g_caughtSignal = 0;
        sigset_t held;
        sigemptyset(&held);
        struct sigaction noting {};
        noting.sa_handler = NoteSignal;
        for (std::size_t i = 0; i < kTerminalSignals.size(); ++i) {
            sigaddset(&held, kTerminalSignals[i]);
            sigaction(kTerminalSignals[i], nullptr, &m_oldActions[i]);
            // What the caller has us ignore stays ignored.
            if (m_oldActions[i].sa_handler != SIG_IGN) {
                sigaction(kTerminalSignals[i], &noting, nullptr);
            }
        }
        sigprocmask(SIG_BLOCK, &held, &m_oldMask);
    }

    ~HeldSignals() {
        // First the mask, so that what came late is noted and not lost, then the actions.
        sigprocmask(SIG_SETMASK, &m_oldMask, nullptr);
        for (std::size_t i = 0; i < kTerminalSignals.size(); ++i) {
            sigaction(kTerminalSignals[i], &m_oldActions[i], nullptr);
        }
    }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Waits for input; false when a signal came or the wait failed.
    bool WaitForInput(int fd) const {
        int ready = -1;
        do {
            pollfd input{fd, POLLIN, 0};
            ready = ppoll(&input, 1, nullptr, &m_oldMask);
        } while (ready < 0 && errno == EINTR && g_caughtSignal == 0);
        return ready > 0 && g_caughtSignal == 0;
    }

private:
    sigset_t m_oldMask{};
    std::array<struct sigaction, kTerminalSignals.size()> m_oldActions{};
};

/// Keeps the terminal from showing what is typed.
class HiddenEcho {
public:
    explicit HiddenEcho(int fd) : m_fd(fd) {
        if (tcgetattr(fd, &m_old) != 0) {
            return;
        }
        termios hidden = m_old;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
        hidden.c_lflag |= ICANON | ISIG;
        // What was typed ahead was shown, so it is thrown away.
        m_isHidden = tcsetattr(fd, TCSAFLUSH, &hidden) == 0;
    }
    ~HiddenEcho() {
        if (m_isHidden) {
            tcsetattr(m_fd, TCSAFLUSH, &m_old);
        }
    }
    HiddenEcho(const HiddenEcho&) = delete;
    HiddenEcho& operator=(const HiddenEcho&) = delete;

    [[nodiscard]] bool IsHidden() const { return m_isHidden; }

private:
    int m_fd;
    termios m_old{};
    bool m_isHidden = false;
};

/// A prompt that cannot be written is no reason not to read the answer.
void Show(std::string_view text) {
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

bool SecretText::Append(char c) {
    if (m_length == kMaxPasswordBytes) {
        return false;
    }
    m_text[m_length++] = c;
    return true;
}

void SecretText::Clear() {
    explicit_bzero(m_text.data(), m_text.size());
    m_length = 0;
}

bool SecretText::operator==(const SecretText& other) const {
    return m_length == other.m_length &&
           std::memcmp(m_text.data(), other.m_text.data(), m_length) == 0;
}

InputStatus ReadPasswordLine(int fd, SecretText& text, const std::function<bool()>& wait) {
    text.Clear();
    bool hasBegun = false;
    InputStatus status = InputStatus::kOk;
    char c = 0;
    while (true) {
        if (wait && !wait()) {
            status = InputStatus::kFailed;
            break;
        }
        const ssize_t got = read(fd, &c, 1);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            status = InputStatus::kFailed;
        } else if (got == 0 && !hasBegun) {
            status = InputStatus::kEnded;
        }
        if (got <= 0 || c == '\n') {
            break;
        }
        hasBegun = true;
        if (status == InputStatus::kOk && c == '\0') {
            status = InputStatus::kZeroByte;
        } else if (status == InputStatus::kOk && !text.Append(c)) {
            status = InputStatus::kTooLong;
        }
    }
    explicit_bzero(&c, sizeof c);  // Without a newline the last character.
    if (status != InputStatus::kOk) {
        text.Clear();
    }
    return status;
}

InputStatus AskPassword(int fd, std::string_view prompt, SecretText& text) {
    while (true) {
        InputStatus status = InputStatus::kFailed;
        int caught = 0;
        {
            const HeldSignals signals;
            {
                const HiddenEcho echo(fd);
                if (!echo.IsHidden()) {
                    return InputStatus::kFailed;  // Better no password than one on the screen.
                }
                Show(prompt);
                // Before each byte: the end of input can come in the middle of the line.
                status = ReadPasswordLine(fd, text, [&] { return signals.WaitForInput(fd); });
                Show("\n");
            }
            caught = g_caughtSignal;
        }
        if (caught == 0) {
            return status;
        }
        text.Clear();
        raise(caught);
        // Still here: the signal only stopped the program.
    }
}

}  // namespace dbmod
