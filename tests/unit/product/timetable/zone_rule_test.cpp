#include "product/timetable/zone_rule.h"

#include <gtest/gtest.h>

#include "tests/unit/product/timetable/system_zone.h"

// The rule of the years that a zone's file does not list.

namespace {

using namespace std::chrono_literals;
using timetable::ZoneRule;

void ExpectChanges(const char* text, int year, const char* first, std::chrono::seconds offset,
                   const char* second, std::chrono::seconds secondOffset) {
    const auto rule = ZoneRule::Parse(text);
    ASSERT_TRUE(rule) << text;
    ASSERT_FALSE(rule->IsFixed()) << text;
    const auto changes = rule->ChangesOf(std::chrono::year(year));
    EXPECT_EQ(changes[0].when, Utc(first)) << text;
    EXPECT_EQ(changes[0].offset, offset) << text;
    EXPECT_EQ(changes[1].when, Utc(second)) << text;
    EXPECT_EQ(changes[1].offset, secondOffset) << text;
}

TEST(ZoneRuleTest, TellsBothChangesOfAYear) {
    ExpectChanges("CET-1CEST,M3.5.0,M10.5.0/3", 2040, "2040-03-25 01:00:00", 2h,
                  "2040-10-28 01:00:00", 1h);
    ExpectChanges("EST5EDT,M3.2.0,M11.1.0", 2040, "2040-03-11 07:00:00", -4h, "2040-11-04 06:00:00",
                  -5h);
    // Summer over the turn of the year.
    ExpectChanges("NZST-12NZDT,M9.5.0,M4.1.0/3", 2040, "2040-03-31 14:00:00", 12h,
                  "2040-09-29 14:00:00", 13h);
    // Half an hour of summer.
    ExpectChanges("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", 2040, "2040-03-31 15:00:00", 10h + 30min,
                  "2040-10-06 15:30:00", 11h);
    // Winter that is behind.
    ExpectChanges("IST-1GMT0,M10.5.0,M3.5.0/1", 2040, "2040-03-25 01:00:00", 1h,
                  "2040-10-28 01:00:00", 0h);
    // Before the day, and long after it.
    ExpectChanges("<-02>2<-01>,M3.5.0/-1,M10.5.0/0", 2040, "2040-03-25 01:00:00", -1h,
                  "2040-10-28 01:00:00", -2h);
    ExpectChanges("EET-2EEST,M3.4.4/50,M10.4.4/50", 2040, "2040-03-24 00:00:00", 3h,
                  "2040-10-26 23:00:00", 2h);
    // Counted days: with a 29th of February, and never with one.
    ExpectChanges("AAA0BBB,59/0,J60/12", 2040, "2040-02-29 00:00:00", 1h, "2040-03-01 11:00:00",
                  0h);
    ExpectChanges("AAA0BBB,59/0,J60/12", 2041, "2041-03-01 00:00:00", 1h, "2041-03-01 11:00:00",
                  0h);
    ExpectChanges("AAA0BBB,J59/0,J365/0:0:5", 2040, "2040-02-28 00:00:00", 1h,
                  "2040-12-30 23:00:05", 0h);
}

TEST(ZoneRuleTest, KnowsOneThatNeverChanges) {
    const auto rule = ZoneRule::Parse("<+0545>-5:45");
    ASSERT_TRUE(rule);
    EXPECT_TRUE(rule->IsFixed());
    EXPECT_EQ(rule->Standard(), 5h + 45min);
    EXPECT_EQ(ZoneRule::Parse("AAA+3:30:15")->Standard(), -(3h + 30min + 15s));
}

TEST(ZoneRuleTest, RefusesWhatIsNone) {
    for (const char* text : {"",
                             "CET",
                             "CE-1",
                             "CET-1CEST",
                             "CET-1CEST,M3.5.0",
                             "CET-1CEST,M3.5.0,",
                             "CET-25",
                             "CET-1CEST,M13.5.0,M10.5.0",
                             "CET-1CEST,M0.5.0,M10.5.0",
                             "CET-1CEST,M3.6.0,M10.5.0",
                             "CET-1CEST,M3.0.0,M10.5.0",
                             "CET-1CEST,M3.5.7,M10.5.0",
                             "CET-1CEST,M3.5,M10.5.0",
                             "CET-1CEST,J0,J60",
                             "CET-1CEST,J366,J60",
                             "CET-1CEST,366,60",
                             "CET-1CEST,M3.5.0/168,J60",
                             "CET-1CEST,M3.5.0/2:60,J60",
                             "CET-1CEST,M3.5.0,M10.5.0/3x",
                             "<+1-1",
                             "CET-1CE,J5,J60",
                             "CET-99999999999999999999",
                             "CET-1:60"}) {
        EXPECT_FALSE(ZoneRule::Parse(text)) << text;
    }
}

}  // namespace
