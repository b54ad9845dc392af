#include "product/scanapi/clamd_connection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "common/retrying.h"
#include "common/socket_peer.h"
#include "product/scanapi/clamd_reply.h"
#include "product/scanning/container_kind.h"
#include "product/scanwire/packet.h"

namespace scanapi {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Result = ClamdConnection::Result;

constexpr milliseconds kLookInterval(25);
constexpr std::size_t kPiece = std::size_t{64} << 10U;
constexpr std::string_view kBegin("zIDSESSION\0", 11);
constexpr std::string_view kDescriptor("zFILDES\0", 8);
constexpr std::string_view kStream("zINSTREAM\0", 10);

milliseconds Left(ClamdConnection::Deadline deadline) {
    return std::chrono::ceil<milliseconds>(deadline - steady_clock::now());
}

// Waits for what is in `events` of the socket.
Result Await(int socket, short events, ClamdConnection::Deadline deadline,
             const StopWanted& isStopWanted) {
    while (true) {
        if (isStopWanted()) {
            return Result::kStopped;
        }
        const milliseconds left = Left(deadline);
        if (left.count() <= 0) {
            return Result::kLate;
        }
        pollfd poll{socket, events, 0};
        const int ready = ::poll(&poll, 1, static_cast<int>(std::min(left, kLookInterval).count()));
        if (ready > 0) {
            return Result::kAnswered;
        }
        if (ready < 0 && errno != EINTR) {
            return Result::kLost;
        }
    }
}

int ErrorOf(Result result) {
    switch (result) {
        case Result::kStopped:
            return ECANCELED;
        case Result::kLate:
            return ETIMEDOUT;
        default:
            return EIO;
    }
}

// Connects the non-blocking socket; false with the reason in errno.
bool Connect(int socket, const sockaddr* address, socklen_t size,
             ClamdConnection::Deadline deadline, const StopWanted& isStopWanted) {
    if (connect(socket, address, size) == 0) {
        return true;
    }
    if (errno != EINPROGRESS) {
        return false;
    }
    const Result result = Await(socket, POLLOUT, deadline, isStopWanted);
    if (result != Result::kAnswered) {
        errno = ErrorOf(result);
        return false;
    }
    int error = 0;
    socklen_t length = sizeof(error);
    if (getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &length) == 0) {
        errno = error;
    }
    return errno == 0;
}

// Whoever may make the socket may also say of every file that it is clean, and read it.
bool IsTrusted(int socket, const std::string& user) {
    const auto peer = common::PeerOf(socket);
    if (!peer) {
        return false;
    }
    const bool isTrusted = peer->uid == geteuid() || common::IsRootOr(peer->uid, user);
    errno = EPERM;
    return isTrusted;
}

std::array<char, 4> BigEndian(std::size_t number) {
    return {static_cast<char>(number >> 24U), static_cast<char>(number >> 16U),
            static_cast<char>(number >> 8U), static_cast<char>(number)};
}

}  // namespace

std::optional<ClamdConnection> ClamdConnection::ToSocket(const std::string& path,
                                                         const std::string& user, Deadline deadline,
                                                         const StopWanted& isStopWanted) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        return std::nullopt;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    common::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket ||
        !Connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address),
                 deadline, isStopWanted) ||
        !IsTrusted(socket.Get(), user)) {
        return std::nullopt;
    }
    ClamdConnection connection(std::move(socket));
    connection.m_isLocal = true;
    return connection;
}

std::optional<ClamdConnection> ClamdConnection::ToAddress(const std::string& address,
                                                          Deadline deadline,
                                                          const StopWanted& isStopWanted) {
    const auto colon = address.rfind(':');
    const std::string host = address.substr(0, colon);
    const std::string port = colon == std::string::npos ? "" : address.substr(colon + 1);
    addrinfo wanted{};
    // Names are not looked up: that may take longer than any limit.
    wanted.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    const std::string bare = isBracketed ? host.substr(1, host.size() - 2) : host;
    if (bare.empty() || port.empty() ||
        getaddrinfo(bare.c_str(), port.c_str(), &wanted, &found) != 0) {
        errno = EINVAL;
        return std::nullopt;
    }
    common::FileDescriptor socket(
        ::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const bool isConnected =
        socket && Connect(socket.Get(), found->ai_addr, found->ai_addrlen, deadline, isStopWanted);
    const int error = errno;
    freeaddrinfo(found);
    errno = error;
    return isConnected ? std::optional(ClamdConnection(std::move(socket))) : std::nullopt;
}

Result ClamdConnection::Ask(int file, std::span<const std::byte> all, Deadline deadline,
                            const StopWanted& isStopWanted, std::string& reply) {
    m_deadline = deadline;
    m_stop = &isStopWanted;
    reply.clear();
    Result result = m_requests++ == 0 ? Send(kBegin) : Result::kAnswered;
    if (result == Result::kAnswered) {
        result = m_isLocal ? SendDescriptor(file) : SendContents(scanning::TextOf(all));
    }
    return result == Result::kAnswered ? Receive(reply) : result;
}

Result ClamdConnection::WaitFor(short events) {
    return Await(m_socket.Get(), events, m_deadline, *m_stop);
}

Result ClamdConnection::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = send(m_socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno != EINTR && errno != EAGAIN) {
            return Result::kLost;
        }
        // Also while all goes well: who reads slowly must not hold off a stop.
        if (const Result result = bytes.empty() ? Result::kAnswered : WaitFor(POLLOUT);
            result != Result::kAnswered) {
            return result;
        }
    }
    return Result::kAnswered;
}

Result ClamdConnection::SendDescriptor(int file) {
    if (const Result result = Send(kDescriptor); result != Result::kAnswered) {
        return result;
    }
    constexpr std::string_view kZero("\0", 1);
    while (true) {
        switch (scanwire::SendPacket(m_socket.Get(), kZero, {&file, 1})) {
            case scanwire::Sent::kWhole:
                return Result::kAnswered;
            case scanwire::Sent::kFailed:
                return Result::kLost;
            case scanwire::Sent::kNoRoom:
                break;
        }
        if (const Result result = WaitFor(POLLOUT); result != Result::kAnswered) {
            return result;
        }
    }
}

Result ClamdConnection::SendContents(std::string_view all) {
    Result result = Send(kStream);
    while (!all.empty() && result == Result::kAnswered) {
        const std::string_view piece = all.substr(0, kPiece);
        const auto head = BigEndian(piece.size());
        result = Send({head.data(), head.size()});
        if (result == Result::kAnswered) {
            result = Send(piece);
        }
        all.remove_prefix(piece.size());
    }
    const auto end = BigEndian(0);
    return result == Result::kAnswered ? Send({end.data(), end.size()}) : result;
}

Result ClamdConnection::Receive(std::string& reply) {
    std::array<char, kMaxClamdReply + 1> buffer{};
    while (true) {
        if (const Result result = WaitFor(POLLIN); result != Result::kAnswered) {
            return result;
        }
        const auto got = recv(m_socket.Get(), buffer.data(), buffer.size() - reply.size(), 0);
        if (got == 0 || (got < 0 && errno != EINTR && errno != EAGAIN)) {
            return Result::kLost;
        }
        reply.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        if (const auto end = reply.find('\0'); end != std::string::npos) {
            // Nothing was asked that more could be the answer to.
            const bool isWhole = end + 1 == reply.size();
            reply.resize(end);
            return isWhole ? Result::kAnswered : Result::kNonsense;
        }
        if (reply.size() > kMaxClamdReply) {
            return Result::kNonsense;
        }
    }
}

}  // namespace scanapi
