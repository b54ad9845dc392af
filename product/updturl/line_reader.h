#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace updturl {

/// The longest line that the updater's processes send one another, its newline included, in bytes.
inline constexpr std::size_t kLongestLine = 4096;

/// Cuts what arrives on a descriptor into lines, and keeps little of it at a time whatever arrives.
///
/// Take all lines after each ReadFrom: one call reads a few KiB at most, so what the other side
/// sends without end waits in the pipe. A last line without its newline is none. For one thread.
class LineReader {
public:
    enum class State {
        kOpen,     ///< more may come
        kEnded,    ///< the other side is done
        kTooLong,  ///< a line over kLongestLine, or more than `total` bytes
        kFailed,   ///< the descriptor could not be read
    };

    /// `total`: how many bytes are taken in all.
    explicit LineReader(std::size_t total = std::numeric_limits<std::size_t>::max())
        : m_left(total) {}

    /// Reads once. On a descriptor that does not block and has nothing, the state stays kOpen; a
    /// blocking one is waited for. Nothing more is read once the state is another.
    State ReadFrom(int fd);

    /// Takes bytes as if they had been read.
    State Add(std::string_view bytes);

    /// The next whole line without its newline, valid until the next call of ReadFrom or Add. What
    /// came before a line that is too long is still given.
    std::optional<std::string_view> Next();

    [[nodiscard]] State Now() const { return m_state; }

private:
    State m_state = State::kOpen;
    std::size_t m_left;
    std::string m_bytes;
    std::size_t m_taken = 0;
};

}  // namespace updturl
