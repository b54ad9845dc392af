#include <gtest/gtest.h>

#include "product/signed_index/index.h"

namespace {

using signed_index::FormatUtcTime;
using signed_index::ParseTime;

TEST(ParseTime, ReadsMomentsOfTheYears1970To9999) {
    std::time_t time = -1;
    EXPECT_TRUE(ParseTime("1970-01-01T00:00:00Z", time));
    EXPECT_EQ(time, 0);
    EXPECT_TRUE(ParseTime("2026-11-22T03:00:00Z", time));
    EXPECT_EQ(time, 1795316400);
    EXPECT_TRUE(ParseTime("2024-02-29T23:59:59Z", time));
    EXPECT_EQ(time, 1709251199);
    EXPECT_TRUE(ParseTime("9999-12-31T23:59:59Z", time));
    EXPECT_EQ(time, 253402300799);
}

TEST(ParseTime, RefusesEverythingElseAndLeavesTheTimeAlone) {
    std::time_t time = 5;
    for (const char* text : {"",
                             "2026-11-22",
                             "2026-11-22T03:00:00",
                             "2026-11-22T03:00:00z",
                             "2026-11-22 03:00:00Z",
                             "2026-11-22T03:00:00Z ",
                             " 2026-11-22T03:00:00Z",
                             "2026-11-22T03:00:00.5Z",
                             "2026-11-22T03:00:00+00:00",
                             "2026-00-22T03:00:00Z",
                             "2026-13-22T03:00:00Z",
                             "2026-11-00T03:00:00Z",
                             "2026-11-31T03:00:00Z",
                             "2025-02-29T03:00:00Z",
                             "2026-11-22T24:00:00Z",
                             "2026-11-22T03:60:00Z",
                             "2026-11-22T03:00:60Z",
                             "1969-12-31T23:59:59Z",
                             "0000-01-01T00:00:00Z",
                             "2026-1x-22T03:00:00Z",
                             "+026-11-22T03:00:00Z",
                             "-001-11-22T03:00:00Z"}) {
        EXPECT_FALSE(ParseTime(text, time)) << text;
    }
    EXPECT_EQ(time, 5);
}

TEST(FormatUtcTime, WritesWhatIsReadAgain) {
    EXPECT_EQ(FormatUtcTime(0), "1970-01-01T00:00:00Z");
    EXPECT_EQ(FormatUtcTime(1795316400), "2026-11-22T03:00:00Z");
    EXPECT_EQ(FormatUtcTime(253402300799), "9999-12-31T23:59:59Z");
}

}  // namespace
