#include "product/rapidupdate/update_service.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <syslog.h>

#include "common/escaped_text.h"
#include "common/file_descriptor.h"
#include "common/retrying.h"
#include "product/updturl/line_reader.h"
#include "product/updturl/message.h"
#include "product/updturl/request.h"
#include "product/updturl/service_connection.h"

namespace rapidupdate {

namespace {

using updturl::LineReader;

/// So little fits into the buffer of a new connection.
bool Say(int connection, std::string_view line) {
    return common::Retrying([&] {
               return ::send(connection, line.data(), line.size(), MSG_NOSIGNAL);
           }) == static_cast<ssize_t>(line.size());
}

/// The result, once a line holds it.
std::optional<UpdaterResult> ReadLines(LineReader& lines) {
    while (const auto line = lines.Next()) {
        const auto message = updturl::ReadMessage(*line);
        if (message && message->kind == updturl::MessageKind::kLog) {
            ::syslog(LOG_INFO, "%s", common::Escaped(message->text).c_str());
        } else if (message && message->kind == updturl::MessageKind::kResult) {
            return static_cast<UpdaterResult>(message->number);
        }
    }
    return std::nullopt;
}

UpdaterResult Follow(int connection, int endDescriptor, std::chrono::milliseconds silence) {
    LineReader lines;
    while (lines.Now() == LineReader::State::kOpen) {
        std::array<pollfd, 2> watched{{{endDescriptor, POLLIN, 0}, {connection, POLLIN, 0}}};
        const int ready = ::poll(watched.data(), watched.size(), static_cast<int>(silence.count()));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0) {
            ::syslog(LOG_ERR, "the update service says nothing any more");
            return kUpdaterFailed;
        }
        if (watched[0].revents != 0) {
            (void)Say(connection, std::string(updturl::kStopLine) + "\n");
            // Hanging up over something unread can take the word back; the service then sees that
            // we are gone, which it takes for the same.
            lines.ReadFrom(connection);
            return kUpdaterInterrupted;
        }
        lines.ReadFrom(connection);
        if (const auto result = ReadLines(lines)) {
            return *result;
        }
    }
    ::syslog(LOG_ERR, "the update service ended without a result");
    return kUpdaterFailed;
}

}  // namespace

UpdaterResult AskForUpdate(const char* path, Wish wish, int endDescriptor,
                           std::chrono::milliseconds silence) {
    std::string reason;
    const common::FileDescriptor connection =
        updturl::ConnectToService(path, updturl::kServiceUser, reason);
    if (connection && !Say(connection.Get(), wish == Wish::kIndex ? updturl::kWishForIndex
                                                                  : updturl::kWishToUpdate)) {
        reason = std::strerror(errno);
    }
    if (!reason.empty()) {
        ::syslog(LOG_ERR,
                 "no update service at %s (%s); start it with \"service corvane-updated start\"",
                 path, reason.c_str());
        return kUpdaterFailed;
    }
    return Follow(connection.Get(), endDescriptor, silence);
}

}  // namespace rapidupdate
