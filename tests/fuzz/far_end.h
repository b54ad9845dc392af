#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/fuzz/fuzz.h"

/// The far end of a connection to what a harness drives. Never waits.
class FarEnd {
public:
    /// Connects them; what the near end sends and nobody reads soon fills its buffer.
    FarEnd() {
        std::array<int, 2> ends{-1, -1};
        Require(
            ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) == 0,
            "there are no sockets");
        m_far.Reset(ends[0]);
        m_near.Reset(ends[1]);
        const int smallest = 0;
        (void)::setsockopt(m_near.Get(), SOL_SOCKET, SO_SNDBUF, &smallest, sizeof smallest);
    }

    common::FileDescriptor TakeNear() { return std::move(m_near); }

    [[nodiscard]] bool IsOpen() const { return m_far.IsOpen(); }
    /// Whether it still may send.
    [[nodiscard]] bool IsSending() const { return IsOpen() && !m_isDone; }

    /// Sends as much as fits: what has been sent of `bytes`.
    std::string_view Send(std::string_view bytes) const {
        const ssize_t sent = ::send(m_far.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        return bytes.substr(0, sent > 0 ? static_cast<std::size_t>(sent) : 0);
    }

    /// What has come and was not received yet, in bytes.
    [[nodiscard]] std::size_t Waiting() const {
        int count = 0;
        Require(::ioctl(m_far.Get(), FIONREAD, &count) == 0, "a socket does not tell what came");
        return static_cast<std::size_t>(count);
    }

    /// Adds to `bytes` what has come, `limit` bytes of it at most.
    void Receive(std::string& bytes, std::size_t limit) const {
        // Kept from input to input.
        static std::array<char, std::size_t{16} * 1024> buffer;
        for (ssize_t got = 1; got > 0 && limit > 0; limit -= static_cast<std::size_t>(got)) {
            got = ::recv(m_far.Get(), buffer.data(), std::min(limit, buffer.size()), 0);
            got = std::max<ssize_t>(got, 0);
            bytes.append(buffer.data(), static_cast<std::size_t>(got));
        }
    }

    /// Sends no more, and still listens.
    void EndSending() {
        m_isDone = true;
        (void)::shutdown(m_far.Get(), SHUT_WR);
    }

    void Close() { m_far.Reset(); }

private:
    common::FileDescriptor m_far;
    common::FileDescriptor m_near;
    bool m_isDone = false;
};
