#include "product/schdlscn/ask_service.h"

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <thread>

#include "common/file_descriptor.h"
#include "common/retrying.h"
#include "product/updturl/line_reader.h"
#include "product/updturl/service_connection.h"

namespace schdlscn {

namespace {

using Clock = std::chrono::steady_clock;
using updturl::LineReader;

constexpr char kServiceUser[] = "root";
constexpr std::chrono::milliseconds kTimeInQueue(20);

/// Waits until the socket can be used. False when time is up.
bool WaitFor(int socket, short events, Clock::time_point deadline) {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) {
            return false;
        }
        pollfd watched{socket, events, 0};
        const int ready = ::poll(&watched, 1, static_cast<int>(left));
        if (ready > 0) {
            return true;
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
    }
}

bool Send(int socket, std::string_view text, Clock::time_point deadline) {
    while (!text.empty()) {
        const ssize_t sent = common::Retrying(
            [&] { return ::send(socket, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT); });
        if (sent > 0) {
            text.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno != EAGAIN || !WaitFor(socket, POLLOUT, deadline)) {
            return false;
        }
    }
    return true;
}

/// Connects as soon as there is room among those who wait. The reason is in errno.
common::FileDescriptor Connect(const std::string& path, Clock::time_point deadline) {
    std::string reason;
    for (;;) {
        common::FileDescriptor socket = updturl::ConnectToService(path, kServiceUser, reason);
        if (socket || errno != EAGAIN || Clock::now() + kTimeInQueue >= deadline) {
            return socket;
        }
        std::this_thread::sleep_for(kTimeInQueue);
    }
}

/// Whether a failure to connect means that there is no service: one that is busy, or that this
/// process lacks the means to reach, may be at work on the list.
bool IsNoService(int error) {
    return error == ENOENT || error == ENOTDIR || error == ECONNREFUSED || error == EPERM;
}

std::optional<Answer> Receive(int socket, Clock::time_point deadline) {
    LineReader lines;
    AnswerReader reader;
    while (WaitFor(socket, POLLIN, deadline)) {
        const LineReader::State state = lines.ReadFrom(socket);
        while (const auto line = lines.Next()) {
            switch (reader.Take(*line)) {
                case Reading::kMore:
                    break;
                case Reading::kWhole:
                    return reader.Taken();
                case Reading::kRefused:
                    return std::nullopt;
            }
        }
        if (state != LineReader::State::kOpen) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Answer> AskService(const std::string& path, const Request& request,
                                 std::chrono::milliseconds limit) {
    const Clock::time_point deadline = Clock::now() + limit;
    const common::FileDescriptor socket = Connect(path, deadline);
    if (!socket && IsNoService(errno)) {
        return std::nullopt;
    }
    std::optional<Answer> answer;
    if (socket && Send(socket.Get(), RequestText(request), deadline)) {
        answer = Receive(socket.Get(), deadline);
    }
    return answer ? std::move(answer) : Answer{.error = kScheduleServiceSilent};
}

}  // namespace schdlscn
