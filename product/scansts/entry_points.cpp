// The default status library "scansts.so": a change becomes a signal on the system bus.

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <systemd/sd-bus.h>

#include "abi/scansts.h"
#include "product/scansts/status_signal.h"

namespace {

using Clock = std::chrono::steady_clock;

// A bus that works is done with us in a few milliseconds. One that hangs is left after this time,
// for the caller may be a window.
constexpr std::chrono::milliseconds kLimit(100);

struct CloseBus {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;

struct FreeMessage {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, FreeMessage>;

bool IsSent(sd_bus* bus) {
    std::uint64_t waiting = 0;
    return sd_bus_is_ready(bus) > 0 && sd_bus_get_n_queued_write(bus, &waiting) >= 0 &&
           waiting == 0;
}

/// Carries the conversation on until everything is written, at most kLimit.
bool Send(sd_bus* bus) {
    const Clock::time_point end = Clock::now() + kLimit;
    while (!IsSent(bus)) {
        const int processed = sd_bus_process(bus, nullptr);
        if (processed < 0) {
            return false;
        }
        if (processed > 0) {
            continue;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::microseconds>(end - Clock::now()).count();
        if (left <= 0) {
            return false;
        }
        const int waited = sd_bus_wait(bus, static_cast<std::uint64_t>(left));
        if (waited < 0 && waited != -EINTR) {
            return false;
        }
    }
    return true;
}

bool TellUpdateChanged() {
    sd_bus* opened = nullptr;
    if (sd_bus_open_system(&opened) < 0) {
        return false;
    }
    const Bus bus(opened);
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_signal(bus.get(), &made, kStatusObjectPath, kStatusInterface,
                                  kUpdateChangedSignal) < 0) {
        return false;
    }
    const Message message(made);
    return sd_bus_send(bus.get(), message.get(), nullptr) >= 0 && Send(bus.get());
}

}  // namespace

#define SCANSTS_EXPORT extern "C" __attribute__((visibility("default")))

/// 1 when the signal was sent; 0 for other changes, a null pointer and without a bus that works.
SCANSTS_EXPORT int StsCommunicateChange(tagSTATUSCHANGE* change) {
    return change != nullptr && change->what == kStatusUpdateChanged && TellUpdateChanged() ? 1 : 0;
}
