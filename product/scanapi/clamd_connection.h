#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "common/file_descriptor.h"

namespace scanapi {

/// Asked every 25 ms while a clamd is waited for, on the thread that waits.
using StopWanted = std::function<bool()>;

/// One session with a clamd: requests and answers, one at a time. Nothing waits beyond the deadline
/// it was given. An object is for one thread.
class ClamdConnection {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    /// Through the socket `path`, or over TCP to `address`, "host:port" with a numeric host. None
    /// on failure, with the reason in errno: EPERM where somebody else than root, `user` or
    /// ourselves listens there, who gets no file to read; ECANCELED after a stop.
    static std::optional<ClamdConnection> ToSocket(const std::string& path, const std::string& user,
                                                   Deadline deadline,
                                                   const StopWanted& isStopWanted);
    static std::optional<ClamdConnection> ToAddress(const std::string& address, Deadline deadline,
                                                    const StopWanted& isStopWanted);

    /// The same over a connected socket.
    explicit ClamdConnection(common::FileDescriptor socket) : m_socket(std::move(socket)) {}

    enum class Result {
        kAnswered,
        kStopped,   ///< a stop was wanted
        kLost,      ///< closed at the other end, or broken
        kNonsense,  ///< more than an answer can be
        kLate,      ///< no answer in time
    };

    /// Whether the descriptor itself is sent; else the file's contents are.
    [[nodiscard]] bool IsLocal() const { return m_isLocal; }

    /// The number of the next request in the session.
    [[nodiscard]] std::uint32_t NextNumber() const { return m_requests + 1; }

    /// Asks about the open file `file` with the contents `all`; its answer, at most kMaxClamdReply
    /// bytes and without the zero at its end, in `reply`. After anything but kAnswered the
    /// connection is of no more use.
    Result Ask(int file, std::span<const std::byte> all, Deadline deadline,
               const StopWanted& isStopWanted, std::string& reply);

private:
    Result Send(std::string_view bytes);
    Result SendDescriptor(int file);
    Result SendContents(std::string_view all);
    Result Receive(std::string& reply);
    Result WaitFor(short events);

    common::FileDescriptor m_socket;
    bool m_isLocal = false;
    std::uint32_t m_requests = 0;
    Deadline m_deadline;
    const StopWanted* m_stop = nullptr;  ///< of the request at hand
};

}  // namespace scanapi
