#include "product/rapidupdate/network.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <systemd/sd-bus.h>

namespace rapidupdate {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;

constexpr std::chrono::seconds kLimit(2);

// NetworkManager's answers; 0 is unknown, 2 and 4 are no and perhaps no.
constexpr std::uint32_t kMeteredYes = 1;
constexpr std::uint32_t kMeteredGuessYes = 3;

struct CloseBus {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;

struct FreeMessage {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, FreeMessage>;

std::uint64_t Left(Clock::time_point end) {
    const auto left = std::chrono::duration_cast<microseconds>(end - Clock::now()).count();
    return left > 0 ? static_cast<std::uint64_t>(left) : 0;
}

/// A call on a bus that hangs would wait for it without end.
bool IsReadyBefore(sd_bus* bus, Clock::time_point end) {
    int ready = 0;
    while ((ready = sd_bus_is_ready(bus)) == 0) {
        const int processed = sd_bus_process(bus, nullptr);
        if (processed < 0 || Left(end) == 0) {
            return false;
        }
        if (processed == 0) {
            const int waited = sd_bus_wait(bus, Left(end));
            if (waited < 0 && waited != -EINTR) {
                return false;
            }
        }
    }
    return ready > 0;
}

Message AskForProperty(sd_bus* bus, std::uint64_t limit) {
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(bus, &made, "org.freedesktop.NetworkManager",
                                       "/org/freedesktop/NetworkManager",
                                       "org.freedesktop.DBus.Properties", "Get") < 0) {
        return nullptr;
    }
    const Message question(made);
    sd_bus_message* answer = nullptr;
    if (sd_bus_message_set_auto_start(question.get(), 0) < 0 ||
        sd_bus_message_append(question.get(), "ss", "org.freedesktop.NetworkManager", "Metered") <
            0 ||
        sd_bus_call(bus, question.get(), limit, nullptr, &answer) < 0) {
        return nullptr;
    }
    return Message(answer);
}

}  // namespace

bool IsConnectionMetered() {
    const Clock::time_point end = Clock::now() + kLimit;
    sd_bus* opened = nullptr;
    if (sd_bus_open_system(&opened) < 0) {
        return false;
    }
    const Bus bus(opened);
    if (!IsReadyBefore(bus.get(), end) || Left(end) == 0) {
        return false;
    }
    const Message answer = AskForProperty(bus.get(), Left(end));
    std::uint32_t metered = 0;
    if (!answer || sd_bus_message_read(answer.get(), "v", "u", &metered) < 0) {
        return false;
    }
    return metered == kMeteredYes || metered == kMeteredGuessYes;
}

}  // namespace rapidupdate
