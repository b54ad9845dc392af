#include "product/notifying/desktop_notification.h"

#include <chrono>

#include "common/bus.h"
#include "common/escaped_text.h"

namespace notifying {

namespace {

constexpr std::chrono::seconds kLimit(2);
constexpr std::uint8_t kNormal = 1;
constexpr std::uint8_t kCritical = 2;

bool Append(sd_bus_message* call, const Notification& notification) {
    const std::uint8_t urgency = notification.isUrgent ? kCritical : kNormal;
    return sd_bus_message_append(call, "susssasa{sv}i", "Corvane", std::uint32_t{0}, "corvane",
                                 notification.title.c_str(), notification.body.c_str(), 0, 2,
                                 "urgency", "y", urgency, "desktop-entry", "s", "corvane", -1) >= 0;
}

}  // namespace

std::string PlainText(std::string_view text) {
    std::string plain;
    for (const char c : common::Escaped(text)) {
        switch (c) {
            case '&':
                plain += "&amp;";
                break;
            case '<':
                plain += "&lt;";
                break;
            case '>':
                plain += "&gt;";
                break;
            default:
                plain += c;
        }
    }
    return plain;
}

void ShowNotification(const Notification& notification) {
    const auto end = common::BusClock::now() + kLimit;
    sd_bus* opened = nullptr;
    if (sd_bus_open_user(&opened) < 0) {
        return;
    }
    const common::Bus bus(opened);
    int ready = 0;
    // A call on a bus that hangs would wait for it without end.
    if (!common::CarryOnUntil(bus.get(), end,
                              [&] { return (ready = sd_bus_is_ready(bus.get())) != 0; }) ||
        ready < 0 || common::TimeLeft(end) == 0) {
        return;
    }
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(bus.get(), &made, "org.freedesktop.Notifications",
                                       "/org/freedesktop/Notifications",
                                       "org.freedesktop.Notifications", "Notify") < 0) {
        return;
    }
    const common::BusMessage call(made);
    sd_bus_message* answer = nullptr;
    if (Append(call.get(), notification) &&
        sd_bus_call(bus.get(), call.get(), common::TimeLeft(end), nullptr, &answer) >= 0) {
        const common::BusMessage taken(answer);
    }
}

}  // namespace notifying
