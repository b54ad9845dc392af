#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "product/fetch/listener.h"

namespace fetch {

/// Passes on what is being done and sees to it that the listener hears of it often enough. For one
/// thread.
class Progress {
public:
    explicit Progress(Listener& listener) : m_listener(listener) {}

    void Status(std::uint16_t status, std::string_view name = {});
    void Log(std::string_view text) { m_listener.Log(text); }

    /// Says that what is refused is not used, and why.
    void Refuse(std::string_view text);

    /// To be called at least every kBeat by whatever takes long. False when it is to end.
    bool GoesOn();

    /// Waits, and false when it was told to end meanwhile.
    bool Wait(std::chrono::milliseconds time);

    static constexpr std::chrono::milliseconds kBeat{50};

private:
    using Clock = std::chrono::steady_clock;

    Listener& m_listener;
    std::uint16_t m_status = 0;
    std::string m_name;
    Clock::time_point m_lastTold;
    bool m_isStopping = false;
};

}  // namespace fetch
