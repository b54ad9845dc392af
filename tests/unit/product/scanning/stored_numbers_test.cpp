// Numbers and texts as files hold them.

#include "product/scanning/stored_numbers.h"

#include <gtest/gtest.h>

namespace {

using scanning::FindBytes;
using namespace std::string_view_literals;
constexpr std::size_t kNowhere = std::string_view::npos;

TEST(StoredNumbers, TheLowestByteComesFirst) {
    EXPECT_EQ(scanning::LittleEndian("\x01\x02\x03\xff"sv, 1, 2), 0x0302U);
    EXPECT_EQ(scanning::LittleEndian("\x01\x02\x03\xff"sv, 3, 1), 0xffU);
}

TEST(StoredNumbers, WhatLiesPastTheEndIsZero) {
    EXPECT_EQ(scanning::LittleEndian("\x01\x02"sv, 1, 4), 2U);
    EXPECT_EQ(scanning::LittleEndian({}, 0, 8), 0U);
}

TEST(FindBytes, TellsTheFirstPlaceFromThereOn) {
    EXPECT_EQ(FindBytes("abcabc", "bc", 0), 1U);
    EXPECT_EQ(FindBytes("abcabc", "bc", 1), 1U);
    EXPECT_EQ(FindBytes("abcabc", "bc", 2), 4U);
    EXPECT_EQ(FindBytes("a\0b\0"sv, "\0"sv, 2), 3U);
}

TEST(FindBytes, WhatDoesNotFitIsNowhere) {
    EXPECT_EQ(FindBytes("abcabc", "bc", 5), kNowhere);
    EXPECT_EQ(FindBytes("abc", "abcd", 0), kNowhere);
    EXPECT_EQ(FindBytes("abc", "c", 3), kNowhere);
    EXPECT_EQ(FindBytes("abc", "c", 4), kNowhere);
    // Without an address, too: the C library's function may be given none.
    EXPECT_EQ(FindBytes({}, "c", 0), kNowhere);
}

}  // namespace
