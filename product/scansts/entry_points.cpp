// The default status library "scansts.so": a change becomes a signal on the system bus.

#include <chrono>
#include <cstdint>

#include "abi/scansts.h"
#include "common/bus.h"
#include "product/scansts/status_signal.h"

namespace {

// A bus that works is done with us in a few milliseconds. One that hangs is left after this time,
// for the caller may be a window.
constexpr std::chrono::milliseconds kLimit(100);

bool IsSent(sd_bus* bus) {
    std::uint64_t waiting = 0;
    return sd_bus_is_ready(bus) > 0 && sd_bus_get_n_queued_write(bus, &waiting) >= 0 &&
           waiting == 0;
}

bool TellUpdateChanged() {
    sd_bus* opened = nullptr;
    if (sd_bus_open_system(&opened) < 0) {
        return false;
    }
    const common::Bus bus(opened);
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_signal(bus.get(), &made, kStatusObjectPath, kStatusInterface,
                                  kUpdateChangedSignal) < 0) {
        return false;
    }
    const common::BusMessage message(made);
    return sd_bus_send(bus.get(), message.get(), nullptr) >= 0 &&
           common::CarryOnUntil(bus.get(), common::BusClock::now() + kLimit,
                                [&] { return IsSent(bus.get()); });
}

}  // namespace

#define SCANSTS_EXPORT extern "C" __attribute__((visibility("default")))

/// 1 when the signal was sent; 0 for other changes, a null pointer and without a bus that works.
SCANSTS_EXPORT int StsCommunicateChange(tagSTATUSCHANGE* change) {
    return change != nullptr && change->what == kStatusUpdateChanged && TellUpdateChanged() ? 1 : 0;
}
