#include "product/shellscan/notification.h"

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/noted_desktop.h"

namespace {

using notifying::Notification;
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
    NotedDesktop desktop;
    notifying::ShowNotification({"Title", "Body &lt;", true});
    notifying::ShowNotification({"Other", "", false});
    EXPECT_EQ(desktop.End(),
              "Corvane 0 corvane Title|Body &lt;|urgency 2\n"
              "Corvane 0 corvane Other||urgency 1\n");
}

TEST_F(OnADesktop, WithoutAServiceNothingHappens) {
    notifying::ShowNotification({"Title", "Body", true});
}

TEST_F(OnADesktop, ABusThatHangsIsLeft) {
    m_bus.Hang();
    const auto start = std::chrono::steady_clock::now();
    notifying::ShowNotification({"Title", "Body", true});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(Notification, WithoutABusNothingHappens) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    notifying::ShowNotification({"Title", "Body", true});
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

}  // namespace
