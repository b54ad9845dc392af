#pragma once

#include <array>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "common/file_descriptor.h"

/// A clamd that is not what it should be: each connection is handed to the next script.
class FakeClamd {
public:
    using Script = std::function<void(int socket)>;

    FakeClamd(const std::string& path, std::vector<Script> scripts)
        : m_scripts(std::move(scripts)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.data(), path.size());
        m_listener.Reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(::bind(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)),
                  0);
        EXPECT_EQ(::listen(m_listener.Get(), 5), 0);
        m_thread = std::thread([this] {
            for (const Script& script : m_scripts) {
                common::FileDescriptor socket(::accept(m_listener.Get(), nullptr, nullptr));
                if (!socket) {
                    return;
                }
                SetCurrent(socket.Get());
                script(socket.Get());
                SetCurrent(-1);
            }
        });
    }
    ~FakeClamd() {
        ::shutdown(m_listener.Get(), SHUT_RDWR);
        {
            const std::lock_guard lock(m_mutex);
            m_isOver = true;
            ::shutdown(m_current, SHUT_RDWR);
        }
        m_thread.join();
    }
    FakeClamd(const FakeClamd&) = delete;
    FakeClamd& operator=(const FakeClamd&) = delete;

    static void Say(int socket, const std::string& text) {
        (void)::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
    }

    /// Takes a request as it should be, the first in a session or a later one. The start of what
    /// the descriptor leads to.
    static std::string TakeRequest(int socket, bool isFirst = true) {
        if (isFirst) {
            EXPECT_EQ(ReceiveText(socket, 11), std::string("zIDSESSION\0", 11));
        }
        EXPECT_EQ(ReceiveText(socket, 8), std::string("zFILDES\0", 8));
        const common::FileDescriptor file(ReceiveDescriptor(socket));
        EXPECT_EQ(::fcntl(file.Get(), F_GETFL) & O_ACCMODE, O_RDONLY);
        std::string text(5, '\0');
        EXPECT_EQ(::pread(file.Get(), text.data(), text.size(), 0), 5);
        return text;
    }

    /// Answers the first request with this.
    static Script Answering(const std::string& answer) {
        return [answer](int socket) {
            TakeRequest(socket);
            Say(socket, answer);
        };
    }

    /// Until the other end is closed.
    static void Hang(int socket) {
        char byte = 0;
        while (::recv(socket, &byte, 1, 0) > 0) {
        }
    }

private:
    void SetCurrent(int socket) {
        const std::lock_guard lock(m_mutex);
        m_current = socket;
        if (m_isOver) {
            ::shutdown(m_current, SHUT_RDWR);
        }
    }

    // What is passed with a message, -1 without; one byte of it.
    static int ReceiveDescriptor(int socket) {
        char byte = 0;
        iovec bytes{&byte, 1};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
        msghdr message{};
        message.msg_iov = &bytes;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        int file = -1;
        if (::recvmsg(socket, &message, MSG_CMSG_CLOEXEC) == 1 &&
            CMSG_FIRSTHDR(&message) != nullptr) {
            std::memcpy(&file, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof(file));
        }
        return file;
    }

    static std::string ReceiveText(int socket, std::size_t size) {
        std::string text(size, '\0');
        for (std::size_t got = 0; got < size;) {
            const auto more = ::recv(socket, text.data() + got, size - got, 0);
            if (more <= 0) {
                return text.substr(0, got);
            }
            got += static_cast<std::size_t>(more);
        }
        return text;
    }

    std::vector<Script> m_scripts;
    common::FileDescriptor m_listener;
    std::mutex m_mutex;  ///< guards what follows
    int m_current = -1;  ///< the connection that a script is at
    bool m_isOver = false;
    std::thread m_thread;
};
