#include "common/percent_text.h"

#include <gtest/gtest.h>
#include <string>

using namespace std::string_literals;

namespace common {
namespace {

TEST(PercentText, PrintableCharactersStandForThemselves) {
    EXPECT_EQ(PercentEncoded(" http://a.example/~b?c=d&e\\\"z"), " http://a.example/~b?c=d&e\\\"z");
}

TEST(PercentText, ThePercentSignControlsAndEverythingPastAsciiAreEncoded) {
    EXPECT_EQ(PercentEncoded("50%\n\t\x1f\x7f\x80\xff"), "50%25%0A%09%1F%7F%80%FF");
    EXPECT_EQ(PercentEncoded("é"), "%C3%A9");
}

TEST(PercentText, EveryByteButZeroComesBack) {
    std::string all;
    for (int byte = 1; byte <= 255; ++byte) {
        all += static_cast<char>(byte);
    }
    EXPECT_EQ(PercentDecoded(PercentEncoded(all)), all);
}

TEST(PercentText, SmallDigitsAreUnderstoodToo) {
    EXPECT_EQ(PercentDecoded("%c3%A9%7e"), "é~");
}

TEST(PercentText, WhatTheEncoderNeverWritesIsRefused) {
    EXPECT_EQ(PercentDecoded("a\nb"), std::nullopt);
    EXPECT_EQ(PercentDecoded("a\x7f"), std::nullopt);
    EXPECT_EQ(PercentDecoded("é"), std::nullopt);
    EXPECT_EQ(PercentDecoded("a\0b"s), std::nullopt);
    EXPECT_EQ(PercentDecoded("100%"), std::nullopt);
    EXPECT_EQ(PercentDecoded("100%4"), std::nullopt);
    EXPECT_EQ(PercentDecoded("%4g"), std::nullopt);
    EXPECT_EQ(PercentDecoded("%g4"), std::nullopt);
    EXPECT_EQ(PercentDecoded("% 4"), std::nullopt);
}

TEST(PercentText, AZeroByteIsRefusedAlsoEncoded) {
    EXPECT_EQ(PercentDecoded("/etc/x%00.cvd"), std::nullopt);
}

TEST(PercentText, WithinALimitNoEncodedByteIsCut) {
    EXPECT_EQ(PercentEncodedWithin("ab%c", 6), "ab%25c");
    EXPECT_EQ(PercentEncodedWithin("ab%c", 5), "ab%25");
    EXPECT_EQ(PercentEncodedWithin("ab%c", 4), "ab");
    EXPECT_EQ(PercentEncodedWithin("ab%c", 1), "a");
    EXPECT_EQ(PercentEncodedWithin("ab%c", 0), "");
}

}  // namespace
}  // namespace common
