#pragma once

#include <csignal>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <utility>

#include "common/io.h"
#include "product/serving/listening.h"
#include "product/updated/server.h"
#include "tests/support/scratch.h"

// corvane-updated itself, with a script in the place of the program that updates.

namespace updated {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

inline const std::string kDirectory = "/usr/lib/Corvane/Corvane/";
inline const std::string kSocket = "/run/corvane/update.sock";

inline constexpr uid_t kNobody = 65534;

/// Makes this process another user's, or ends it.
inline void Become(uid_t user) {
    if (::setgroups(0, nullptr) != 0 || ::setgid(user) != 0 || ::setuid(user) != 0) {
        ::_exit(1);
    }
}

/// One who asks.
class Client {
public:
    explicit Client(std::string_view wish)
        : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        kSocket.copy(address.sun_path, sizeof address.sun_path - 1);
        m_isConnected =
            ::connect(m_socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        Say(wish);
    }

    [[nodiscard]] bool IsConnected() const { return m_isConnected; }
    void Say(std::string_view text) const { common::WriteAll(m_socket.Get(), text); }
    void HangUp() { m_socket.Reset(); }

    /// All that comes until `text` has, the end or 20 seconds.
    std::string HearUntil(std::string_view text) {
        const auto end = steady_clock::now() + seconds(20);
        while (m_heard.find(text) == std::string::npos && steady_clock::now() < end) {
            pollfd readable{m_socket.Get(), POLLIN, 0};
            char buffer[4096];
            ssize_t got = 1;
            if (::poll(&readable, 1, 100) == 1) {
                got = ::read(m_socket.Get(), buffer, sizeof buffer);
                m_heard.append(buffer, got > 0 ? static_cast<std::size_t>(got) : 0);
            }
            if (got <= 0) {
                break;
            }
        }
        return m_heard;
    }
    std::string HearAll() { return HearUntil(std::string_view("\0", 1)); }

private:
    common::FileDescriptor m_socket;
    bool m_isConnected = false;
    std::string m_heard;
};

class UpdatedService : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the product directory is only made inside the sandbox";
        }
        CleanUp();
        fs::create_directories(kDirectory);
        fs::create_directories("/run/corvane");
        WriteFile(kDirectory + "zqupdate.opt", std::string({1, 0, 0, 0, 1, 0, 0, 0}) +
                                                   "/srv/definitions" + std::string(496, '\0'));
    }
    void TearDown() override {
        End();
        if (InSandbox()) {
            CleanUp();
        }
    }
    static void CleanUp() {
        fs::remove_all("/usr/lib/Corvane");
        fs::remove_all("/run/corvane");
        fs::remove_all("/var/lib/corvane-updated");
    }

    /// The program that updates notes its request below its number of the run, then does `work`.
    void Start(const std::string& work) {
        const std::string program = kDirectory + "corvane-update";
        WriteFile(program,
                  "#!/bin/bash\nexport LC_ALL=C\n"
                  "while IFS= read -r line && [[ $line != go ]]; do\n"
                  "    echo \"$line\" >>" +
                      m_scratch.Path() + "request\ndone\necho run >>" + m_scratch.Path() +
                      "runs\n" + work + "\n");
        ASSERT_EQ(::chmod(program.c_str(), 0755), 0);
        ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0777), 0);
        StartAgain();
    }
    void StartAgain() {
        m_service = StartChild([] {
            ::execl(UPDATED_PROGRAM, "corvane-updated", nullptr);
            return 127;
        });
        ASSERT_TRUE(WaitUntil([] { return Client("").IsConnected(); }));
    }
    /// The same with limits of the test's own, in milliseconds.
    void StartWithin(int folder, int site, int awaited, const std::string& work) {
        Start(work);
        End();
        m_service = StartChild([&] {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            Server server(serving::Listen(kSocket), {.directory = kDirectory,
                                                     .program = kDirectory + "corvane-update",
                                                     .state = m_scratch / "state",
                                                     .folderLimit = milliseconds(folder),
                                                     .siteLimit = milliseconds(site),
                                                     .awaitedLimit = milliseconds(awaited)});
            server.Serve(-1, -1, [] {});
            return 0;
        });
        ASSERT_TRUE(WaitUntil([] { return Client("").IsConnected(); }));
    }
    /// The exit status of the service.
    int End() {
        if (m_service <= 0) {
            return -1;
        }
        ::kill(m_service, SIGTERM);
        return JoinChild(std::exchange(m_service, -1));
    }

    [[nodiscard]] std::string Note(const std::string& name) const {
        return ReadFile(m_scratch / name);
    }

    ScratchFolder m_scratch;
    pid_t m_service = -1;
};

}  // namespace updated
