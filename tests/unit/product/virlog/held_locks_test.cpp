#include "product/virlog/held_locks.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace {

TEST(HeldLocks, TellTheirAgeInTheLargestFullUnit) {
    EXPECT_EQ(AgeText(-5), "0 seconds");
    EXPECT_EQ(AgeText(0), "0 seconds");
    EXPECT_EQ(AgeText(1), "1 second");
    EXPECT_EQ(AgeText(59), "59 seconds");
    EXPECT_EQ(AgeText(60), "1 minute");
    EXPECT_EQ(AgeText(3599), "59 minutes");
    EXPECT_EQ(AgeText(3600), "1 hour");
    EXPECT_EQ(AgeText(86399), "23 hours");
    EXPECT_EQ(AgeText(86400), "1 day");
    EXPECT_EQ(AgeText(200000), "2 days");
}

TEST(HeldLocks, NameTheirOwner) {
    EXPECT_EQ(OwnerName(0), "root");
    uid_t nameless = 54321;
    while (getpwuid(nameless) != nullptr) {
        ++nameless;
    }
    EXPECT_EQ(OwnerName(nameless), "user " + std::to_string(nameless));
}

TEST(HeldLocks, AreDescribedInOneLine) {
    // 2026-03-05 07:04:09 UTC, the tests' time zone.
    const HeldLock lock{"10022", {7, 0, 1772694249}};
    EXPECT_EQ(Describe(lock, 1772694249 + 150),
              "lock \"10022\" (queue 7), taken by root at 2026-03-05 07:04:09, 2 minutes ago");
}

TEST(HeldLocks, AreTheSameByQueueAndTime) {
    const HeldLock lock{"10022", {7, 0, 100}};
    EXPECT_FALSE(IsAmong(lock, {}));
    EXPECT_TRUE(IsAmong(lock, {{"10011", {8, 0, 100}}, {"10022", {7, 0, 100}}}));
    EXPECT_FALSE(IsAmong(lock, {{"10022", {8, 0, 100}}}));
    EXPECT_FALSE(IsAmong(lock, {{"10022", {7, 0, 101}}}));
}

}  // namespace
