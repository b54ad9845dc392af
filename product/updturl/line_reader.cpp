#include "product/updturl/line_reader.h"

#include <array>
#include <cerrno>
#include <unistd.h>

namespace updturl {

LineReader::State LineReader::ReadFrom(int fd) {
    if (m_state != State::kOpen) {
        return m_state;
    }
    std::array<char, 4 * kLongestLine> buffer;
    const ssize_t count = ::read(fd, buffer.data(), buffer.size());
    if (count > 0) {
        return Add({buffer.data(), static_cast<std::size_t>(count)});
    }
    // ECONNRESET: the other side of a socket went away over bytes that it had not read.
    if (count == 0 || errno == ECONNRESET) {
        m_state = State::kEnded;
    } else if (errno != EAGAIN && errno != EINTR) {
        m_state = State::kFailed;
    }
    return m_state;
}

LineReader::State LineReader::Add(std::string_view bytes) {
    if (m_state != State::kOpen) {
        return m_state;
    }
    if (bytes.size() > m_left) {
        m_state = State::kTooLong;
        return m_state;
    }
    m_left -= bytes.size();
    m_bytes.erase(0, m_taken);
    m_taken = 0;
    m_bytes += bytes;
    std::size_t start = 0;
    while (m_state == State::kOpen) {
        const std::size_t newline = m_bytes.find('\n', start);
        const std::size_t end = newline == std::string::npos ? m_bytes.size() : newline + 1;
        if (end - start > kLongestLine) {
            m_bytes.resize(start);
            m_state = State::kTooLong;
        }
        if (newline == std::string::npos) {
            break;
        }
        start = end;
    }
    return m_state;
}

std::optional<std::string_view> LineReader::Next() {
    const std::string_view rest = std::string_view(m_bytes).substr(m_taken);
    const std::size_t newline = rest.find('\n');
    if (newline == std::string_view::npos) {
        return std::nullopt;
    }
    m_taken += newline + 1;
    return rest.substr(0, newline);
}

}  // namespace updturl
