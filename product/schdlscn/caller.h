#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "common/file_descriptor.h"
#include "product/schdlscn/wire.h"
#include "product/updturl/line_reader.h"

namespace schdlscn {

/// Somebody who asks the service: a connection that never blocks, for one request and its answer.
/// Who it is the system says. For one thread.
class Caller {
public:
    explicit Caller(common::FileDescriptor connection);

    [[nodiscard]] int Descriptor() const { return m_connection.Get(); }
    [[nodiscard]] uid_t User() const { return m_user; }
    [[nodiscard]] bool IsGone() const { return m_isGone; }
    [[nodiscard]] bool HasUnsent() const { return !m_unsent.empty(); }
    /// When it moved on last.
    [[nodiscard]] std::chrono::steady_clock::time_point Since() const { return m_since; }

    /// Reads what has come. The request, once it is whole; what is no request ends the connection.
    std::optional<Request> Hear();
    /// Sends the answer, and what does not fit at once with Send().
    void Say(std::string text);
    void Send();
    void GiveUp() { m_isGone = true; }

private:
    common::FileDescriptor m_connection;
    uid_t m_user = static_cast<uid_t>(-1);
    updturl::LineReader m_lines{kMostBytesOfRequest};
    RequestReader m_request;
    std::string m_unsent;
    std::size_t m_sent = 0;
    std::chrono::steady_clock::time_point m_since = std::chrono::steady_clock::now();
    bool m_isAnswered = false;
    bool m_isGone = false;
};

}  // namespace schdlscn
