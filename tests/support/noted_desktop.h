#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <systemd/sd-bus.h>
#include <thread>

#include "tests/support/private_bus.h"

/// The notification service of a desktop, on a bus of the test's own.
class NotedDesktop {
public:
    NotedDesktop() : m_bus(PrivateBus::Connect()) {
        EXPECT_GE(sd_bus_request_name(m_bus.get(), "org.freedesktop.Notifications", 0), 0);
        EXPECT_GE(sd_bus_add_filter(m_bus.get(), nullptr, OnMessage, this), 0);
        m_thread = std::thread([this] {
            while (!m_isOver) {
                while (sd_bus_process(m_bus.get(), nullptr) > 0) {
                }
                sd_bus_wait(m_bus.get(), 2000);
            }
        });
    }
    ~NotedDesktop() { End(); }
    NotedDesktop(const NotedDesktop&) = delete;
    NotedDesktop& operator=(const NotedDesktop&) = delete;

    /// What it was told, once it is told no more.
    std::string End() {
        m_isOver = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
        return m_told;
    }

private:
    static int OnMessage(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
        if (sd_bus_message_is_method_call(message, "org.freedesktop.Notifications", "Notify") <=
            0) {
            return 0;
        }
        const char* application = nullptr;
        const char* icon = nullptr;
        const char* title = nullptr;
        const char* body = nullptr;
        std::uint32_t replaces = 1;
        EXPECT_GT(
            sd_bus_message_read(message, "susss", &application, &replaces, &icon, &title, &body),
            0);
        EXPECT_GT(sd_bus_message_skip(message, "as"), 0);
        const char* key = nullptr;
        std::uint8_t urgency = 0;
        EXPECT_GT(sd_bus_message_enter_container(message, 'a', "{sv}"), 0);
        EXPECT_GT(sd_bus_message_read(message, "{sv}", &key, "y", &urgency), 0);
        static_cast<NotedDesktop*>(self)->m_told +=
            std::string(application) + " " + std::to_string(replaces) + " " + icon + " " + title +
            "|" + body + "|" + key + " " + std::to_string(urgency) + "\n";
        return sd_bus_reply_method_return(message, "u", 1U);
    }

    TestBus m_bus;
    std::thread m_thread;
    std::atomic<bool> m_isOver = false;
    std::string m_told;
};
