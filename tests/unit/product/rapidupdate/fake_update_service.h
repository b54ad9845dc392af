#pragma once

#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"

/// A socket where an update service would be. Each connection is answered by `answer`, which is
/// given the connection once its first line has come; all of what came is in Heard().
class FakeUpdateService {
public:
    FakeUpdateService(const std::string& path, std::function<void(int)> answer)
        : m_listening(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)),
          m_answer(std::move(answer)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(m_listening.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address),
                  0);
        EXPECT_EQ(::listen(m_listening.Get(), 4), 0);
        m_thread = std::thread([this] { Serve(); });
    }
    ~FakeUpdateService() { Join(); }
    FakeUpdateService(const FakeUpdateService&) = delete;
    FakeUpdateService& operator=(const FakeUpdateService&) = delete;

    /// What was said to it, on all connections one after the other; it serves no more of them.
    const std::string& Heard() {
        Join();
        return m_heard;
    }

    static void Write(int connection, std::string_view text) { common::WriteAll(connection, text); }

private:
    void Serve() {
        while (true) {
            const common::FileDescriptor connection(
                ::accept4(m_listening.Get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (!connection) {
                return;
            }
            Hear(connection.Get(), true);
            m_answer(connection.Get());
            ::shutdown(connection.Get(), SHUT_WR);
            Hear(connection.Get(), false);
        }
    }

    // Reads up to the first end of a line, or to the end.
    void Hear(int connection, bool isLine) {
        char letter = 0;
        while (::read(connection, &letter, 1) == 1) {
            m_heard += letter;
            if (isLine && letter == '\n') {
                return;
            }
        }
    }

    void Join() {
        if (m_thread.joinable()) {
            ::shutdown(m_listening.Get(), SHUT_RDWR);
            m_thread.join();
        }
    }

    common::FileDescriptor m_listening;
    std::function<void(int)> m_answer;
    std::string m_heard;
    std::thread m_thread;
};
