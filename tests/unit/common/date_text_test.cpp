#include "common/date_text.h"

#include <array>
#include <gtest/gtest.h>
#include <string>

namespace {

TEST(DateText, IsWrittenWithoutPadding) {
    const tagZQSYSTEMTIME time{2024, 3, 2, 5, 7, 4, 9, 123};
    std::array<char, 32> buffer;
    buffer.fill('x');
    EXPECT_EQ(GetStringFromDate(&time, buffer.data(), buffer.size()), 1);
    EXPECT_STREQ(buffer.data(), "2024-3-5 7:4:9");
    EXPECT_EQ(buffer[31], '\0') << "the whole buffer is cleared first";
}

TEST(DateText, IsCutToTheBufferAndRefusesOnlyANullOne) {
    const tagZQSYSTEMTIME time{2024, 3, 2, 5, 7, 4, 9, 0};
    std::array<char, 6> buffer;
    buffer.fill('x');
    EXPECT_EQ(GetStringFromDate(&time, buffer.data(), 5), 1);
    EXPECT_EQ(std::string(buffer.data()), "2024");
    EXPECT_EQ(buffer[5], 'x');
    EXPECT_EQ(GetStringFromDate(&time, nullptr, 32), 0);
    EXPECT_EQ(GetStringFromDate(nullptr, buffer.data(), 5), 1);
    EXPECT_STREQ(buffer.data(), "");
}

TEST(DateText, IsReadBack) {
    tagZQSYSTEMTIME time{1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(GetDateFromString("2024-3-5 7:04:09", &time), 1);
    EXPECT_EQ(time.year, 2024);
    EXPECT_EQ(time.month, 3);
    EXPECT_EQ(time.dayOfWeek, 0);
    EXPECT_EQ(time.day, 5);
    EXPECT_EQ(time.hour, 7);
    EXPECT_EQ(time.minute, 4);
    EXPECT_EQ(time.second, 9);
    EXPECT_EQ(time.milliseconds, 0);
}

TEST(DateText, FieldsThatAreNotThereAreZero) {
    tagZQSYSTEMTIME time{1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(GetDateFromString("2024-3", &time), 1);
    EXPECT_EQ(time.year, 2024);
    EXPECT_EQ(time.month, 3);
    EXPECT_EQ(time.day, 0);
    EXPECT_EQ(time.second, 0);
    EXPECT_EQ(GetDateFromString("", &time), 1);
    EXPECT_EQ(time.year, 0);
}

TEST(DateText, OtherCharactersAreRefused) {
    tagZQSYSTEMTIME time{1, 2, 3, 4, 5, 6, 7, 8};
    for (const char* text : {"2024/3/5 7:4:9", "2024-3-5T7:4:9", "2024-3-5\t7:4:9", "+1-2-3"}) {
        EXPECT_EQ(GetDateFromString(text, &time), 0) << text;
    }
    EXPECT_EQ(GetDateFromString(nullptr, &time), 0);
    EXPECT_EQ(GetDateFromString("2024-3-5 7:4:9", nullptr), 0);
    EXPECT_EQ(time.year, 1) << "a refused text leaves the record alone";
}

}  // namespace
