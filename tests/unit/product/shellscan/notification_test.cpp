#include "product/shellscan/notification.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <systemd/sd-bus.h>
#include <thread>

#include "tests/support/private_bus.h"

namespace {

using shellscan::Notification;
using shellscan::NotificationOf;

TEST(Notification, SaysHowTheScanEnded) {
    const Notification found =
        NotificationOf({.scanned = 9, .infected = 1, .unread = 2}, "/home", "");
    EXPECT_EQ(found.title, "Viruses were found");
    EXPECT_EQ(found.body, "1 infected file was found in /home. 2 files were not read.");
    EXPECT_TRUE(found.isUrgent);
    EXPECT_EQ(NotificationOf({.infected = 2}, "", "").body, "2 infected files were found.");

    const Notification clean = NotificationOf({.scanned = 1, .unread = 1}, "/home", "");
    EXPECT_EQ(clean.title, "No virus was found");
    EXPECT_EQ(clean.body, "1 file was scanned in /home. 1 file was not read.");
    EXPECT_FALSE(clean.isUrgent);

    const Notification failed = NotificationOf({.infected = 1}, "/home", "no <room>");
    EXPECT_EQ(failed.title, "The scan failed");
    EXPECT_EQ(failed.body, "no &lt;room&gt;");
    EXPECT_TRUE(failed.isUrgent);
}

TEST(Notification, NamesAreNoMarkup) {
    EXPECT_EQ(NotificationOf({.scanned = 3}, "/<a href=\"x\">&amp;\n\xff", "").body,
              "3 files were scanned in /&lt;a href=\"x\"&gt;&amp;amp;\\u{000a}\\xff.");
}

// The notification service of a desktop, on a bus of the test's own.
class Desktop {
public:
    Desktop() : m_bus(PrivateBus::Connect()) {
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
    ~Desktop() { End(); }
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    // What it was told, once it is told no more.
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
        static_cast<Desktop*>(self)->m_told +=
            std::string(application) + " " + std::to_string(replaces) + " " + icon + " " + title +
            "|" + body + "|" + key + " " + std::to_string(urgency) + "\n";
        return sd_bus_reply_method_return(message, "u", 1U);
    }

    TestBus m_bus;
    std::thread m_thread;
    std::atomic<bool> m_isOver = false;
    std::string m_told;
};

class OnADesktop : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_bus.IsUp());
        ::setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.Address().c_str(), 1);
    }
    void TearDown() override { ::unsetenv("DBUS_SESSION_BUS_ADDRESS"); }

    PrivateBus m_bus;
};

TEST_F(OnADesktop, IsShown) {
    Desktop desktop;
    shellscan::ShowNotification({"Title", "Body &lt;", true});
    shellscan::ShowNotification({"Other", "", false});
    EXPECT_EQ(desktop.End(),
              "Corvane 0 corvane Title|Body &lt;|urgency 2\n"
              "Corvane 0 corvane Other||urgency 1\n");
}

TEST_F(OnADesktop, WithoutAServiceNothingHappens) {
    shellscan::ShowNotification({"Title", "Body", true});
}

TEST_F(OnADesktop, ABusThatHangsIsLeft) {
    m_bus.Hang();
    const auto start = std::chrono::steady_clock::now();
    shellscan::ShowNotification({"Title", "Body", true});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(Notification, WithoutABusNothingHappens) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    shellscan::ShowNotification({"Title", "Body", true});
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

}  // namespace
