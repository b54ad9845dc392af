#pragma once

#include <cstdint>
#include <string>

namespace shellscan {

/// A line on a terminal that says how far a scan is. One thread at a time.
class ProgressBar {
public:
    explicit ProgressBar(int terminal) : m_terminal(terminal) {}

    /// Draws it anew. `total` is 0 while it is not known.
    void Draw(std::uint64_t done, std::uint64_t total);

    /// Takes it away, so that something else can be written where it is.
    void Erase();

private:
    int m_terminal;
    bool m_isDrawn = false;
};

/// What the line says.
std::string ProgressLine(std::uint64_t done, std::uint64_t total);

}  // namespace shellscan
