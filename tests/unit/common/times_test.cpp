#include "common/times.h"

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

namespace {

auto Fields(const tagSYSTEMTIME& time) {
    return std::make_tuple(time.year, time.month, time.dayOfWeek, time.day, time.hour, time.minute,
                           time.second, time.milliseconds);
}

class Times : public testing::Test {
protected:
    void SetUp() override {
        const char* zone = std::getenv("TZ");
        m_hadZone = zone != nullptr;
        m_zone = m_hadZone ? zone : "";
    }
    void TearDown() override {
        if (m_hadZone) {
            ::setenv("TZ", m_zone.c_str(), 1);
        } else {
            ::unsetenv("TZ");
        }
        ::tzset();
    }
    // Only the environment: the functions look for the change themselves.
    static void SetZone(const char* zone) { ::setenv("TZ", zone, 1); }

private:
    bool m_hadZone = false;
    std::string m_zone;
};

// The instant a record tells, taken as UTC.
std::time_t Instant(const tagSYSTEMTIME& time) {
    std::tm parts{};
    parts.tm_year = time.year - 1900;
    parts.tm_mon = time.month - 1;
    parts.tm_mday = time.day;
    parts.tm_hour = time.hour;
    parts.tm_min = time.minute;
    parts.tm_sec = time.second;
    return ::timegm(&parts);
}

TEST_F(Times, UtcIsNow) {
    SetZone("FAR-05:30");
    const std::time_t before = std::time(nullptr);
    tagSYSTEMTIME now;
    GetUTCTime(&now);
    const std::time_t after = std::time(nullptr);
    // The coarse clock behind time() may lag a tick behind.
    EXPECT_GE(Instant(now), before);
    EXPECT_LE(Instant(now), after + 1);
    EXPECT_LT(now.milliseconds, 1000);
    // 1 January 1970 was a Thursday, day 4 when Sunday is 0.
    EXPECT_EQ(now.dayOfWeek, (Instant(now) / 86'400 + 4) % 7);
}

TEST_F(Times, LocalIsNowInTheZone) {
    SetZone("FAR-05:30");
    const std::time_t before = std::time(nullptr) + 19'800;
    tagSYSTEMTIME now;
    GetLocalTime(&now);
    const std::time_t after = std::time(nullptr) + 19'800;
    EXPECT_GE(Instant(now), before);
    EXPECT_LE(Instant(now), after + 1);
    EXPECT_LT(now.milliseconds, 1000);
    EXPECT_EQ(now.dayOfWeek, (Instant(now) / 86'400 + 4) % 7);
}

TEST_F(Times, MillisecondsMove) {
    bool seen = false;
    for (int attempt = 0; attempt < 100'000 && !seen; ++attempt) {
        tagSYSTEMTIME now;
        GetUTCTime(&now);
        seen = now.milliseconds != 0;
    }
    EXPECT_TRUE(seen);
}

TEST_F(Times, AnInstantCountsItsDaysFromOne) {
    SetZone("UTC0");
    tagSYSTEMTIME time;
    GetLocalTimeFromTM(0, &time);
    EXPECT_EQ(Fields(time), std::make_tuple(1970, 1, 5, 1, 0, 0, 0, 0));
    GetLocalTimeFromTM(1'763'823'845, &time);  // Saturday 22 November 2025, 15:04:05
    EXPECT_EQ(Fields(time), std::make_tuple(2025, 11, 7, 22, 15, 4, 5, 0));
    GetLocalTimeFromTM(1'763'823'845 + 86'400, &time);
    EXPECT_EQ(Fields(time), std::make_tuple(2025, 11, 1, 23, 15, 4, 5, 0));
}

TEST_F(Times, AnInstantIsInTheZoneOfTheMoment) {
    tagSYSTEMTIME time;
    SetZone("UTC0");
    GetLocalTimeFromTM(0, &time);
    EXPECT_EQ(time.hour, 0);
    SetZone("FAR-05:30");
    GetLocalTimeFromTM(0, &time);
    EXPECT_EQ(Fields(time), std::make_tuple(1970, 1, 5, 1, 5, 30, 0, 0));
}

TEST_F(Times, RecordToTm) {
    const tagSYSTEMTIME time{2026, 12, 6, 31, 23, 59, 58, 999};
    std::tm parts{};
    parts.tm_yday = 77;
    SystemTimeToTm(&time, &parts);
    EXPECT_EQ(parts.tm_year, 126);
    EXPECT_EQ(parts.tm_mon, 11);
    EXPECT_EQ(parts.tm_wday, 6);
    EXPECT_EQ(parts.tm_mday, 31);
    EXPECT_EQ(parts.tm_hour, 23);
    EXPECT_EQ(parts.tm_min, 59);
    EXPECT_EQ(parts.tm_sec, 58);
    EXPECT_EQ(parts.tm_yday, 0);
}

TEST_F(Times, TmToRecord) {
    std::tm parts{};
    parts.tm_year = 126;
    parts.tm_mon = 0;
    parts.tm_wday = 4;
    parts.tm_mday = 1;
    parts.tm_hour = 2;
    parts.tm_min = 3;
    parts.tm_sec = 4;
    tagSYSTEMTIME time{9, 9, 9, 9, 9, 9, 9, 9};
    TmToSystemTime(&parts, &time);
    EXPECT_EQ(Fields(time), std::make_tuple(2026, 1, 4, 1, 2, 3, 4, 0));
}

TEST_F(Times, NullArgumentsDoNothing) {
    GetUTCTime(nullptr);
    GetLocalTime(nullptr);
    GetLocalTimeFromTM(0, nullptr);
    tagSYSTEMTIME time{1, 2, 3, 4, 5, 6, 7, 8};
    std::tm parts{};
    parts.tm_year = 42;
    SystemTimeToTm(nullptr, &parts);
    SystemTimeToTm(&time, nullptr);
    TmToSystemTime(nullptr, &time);
    TmToSystemTime(&parts, nullptr);
    EXPECT_EQ(parts.tm_year, 42);
    EXPECT_EQ(Fields(time), std::make_tuple(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST_F(Times, TextsAreEnglish) {
    std::tm parts{};
    parts.tm_year = 126;
    parts.tm_mon = 4;
    parts.tm_mday = 3;
    parts.tm_hour = 15;
    parts.tm_min = 4;
    parts.tm_sec = 5;
    EXPECT_EQ(common::FormatTime("%d %B, %Y", parts), "03 May, 2026");
    EXPECT_EQ(common::FormatTime("%d %b, %Y, %r", parts), "03 May, 2026, 03:04:05 PM");
    EXPECT_EQ(common::FormatTime(std::string(2000, 'x').c_str(), parts), "");
}

}  // namespace
