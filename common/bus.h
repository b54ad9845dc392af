#pragma once

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <systemd/sd-bus.h>

// Conversations over D-Bus that a bus which hangs cannot hold up. Who includes this links
// libsystemd.

namespace common {

struct CloseBus {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;

struct FreeBusMessage {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, FreeBusMessage>;

using BusClock = std::chrono::steady_clock;

/// Microseconds until `end`; 0 afterwards.
inline std::uint64_t TimeLeft(BusClock::time_point end) {
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(end - BusClock::now()).count();
    return left > 0 ? static_cast<std::uint64_t>(left) : 0;
}

/// Carries the conversation on until `isDone()`; false when it fails or that is not so by `end`.
/// On the thread that owns the bus.
template <typename Condition>
bool CarryOnUntil(sd_bus* bus, BusClock::time_point end, const Condition& isDone) {
    while (!isDone()) {
        const int processed = sd_bus_process(bus, nullptr);
        if (processed < 0 || TimeLeft(end) == 0) {
            return false;
        }
        if (processed == 0) {
            const int waited = sd_bus_wait(bus, TimeLeft(end));
            if (waited < 0 && waited != -EINTR) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace common
