#include "product/rapidupdate/network.h"

#include <chrono>
#include <cstdint>

#include "common/bus.h"

namespace rapidupdate {

namespace {

constexpr std::chrono::seconds kLimit(2);

// NetworkManager's answers; 0 is unknown, 2 and 4 are no and perhaps no.
constexpr std::uint32_t kMeteredYes = 1;
constexpr std::uint32_t kMeteredGuessYes = 3;

common::BusMessage AskForProperty(sd_bus* bus, std::uint64_t limit) {
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(bus, &made, "org.freedesktop.NetworkManager",
                                       "/org/freedesktop/NetworkManager",
                                       "org.freedesktop.DBus.Properties", "Get") < 0) {
        return nullptr;
    }
    const common::BusMessage question(made);
    sd_bus_message* answer = nullptr;
    if (sd_bus_message_set_auto_start(question.get(), 0) < 0 ||
        sd_bus_message_append(question.get(), "ss", "org.freedesktop.NetworkManager", "Metered") <
            0 ||
        sd_bus_call(bus, question.get(), limit, nullptr, &answer) < 0) {
        return nullptr;
    }
    return common::BusMessage(answer);
}

}  // namespace

bool IsConnectionMetered() {
    const auto end = common::BusClock::now() + kLimit;
    sd_bus* opened = nullptr;
    if (sd_bus_open_system(&opened) < 0) {
        return false;
    }
    const common::Bus bus(opened);
    int ready = 0;
    // A call on a bus that hangs would wait for it without end.
    if (!common::CarryOnUntil(bus.get(), end,
                              [&] { return (ready = sd_bus_is_ready(bus.get())) != 0; }) ||
        ready < 0 || common::TimeLeft(end) == 0) {
        return false;
    }
    const common::BusMessage answer = AskForProperty(bus.get(), common::TimeLeft(end));
    std::uint32_t metered = 0;
    if (!answer || sd_bus_message_read(answer.get(), "v", "u", &metered) < 0) {
        return false;
    }
    return metered == kMeteredYes || metered == kMeteredGuessYes;
}

}  // namespace rapidupdate
