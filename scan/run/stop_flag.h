#pragma once

#include <atomic>

namespace scan {

/// Tells the scan that the user wants it to end, or that it is over. Any thread.
class StopFlag {
public:
    [[nodiscard]] bool IsSet() const noexcept { return m_value == 1; }
    void Set() noexcept { m_value = 1; }
    void Clear() noexcept { m_value = 0; }

private:
    std::atomic<unsigned char> m_value{0};
};

}  // namespace scan
