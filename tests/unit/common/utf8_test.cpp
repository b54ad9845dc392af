#include "common/utf8.h"

#include <gtest/gtest.h>
#include <string_view>

namespace {

// Both ends of every range of first bytes, which together are all of them.
TEST(Utf8, TheFirstByteAnnouncesTheLength) {
    struct Range {
        unsigned int first;
        unsigned int last;
        std::size_t length;
    };
    constexpr Range kRanges[] = {
        {0x00, 0x7F, 1},  // ASCII
        {0x80, 0xBF, 0},  // continuation bytes
        {0xC0, 0xC1, 0},  // overlong only
        {0xC2, 0xDF, 2}, {0xE0, 0xEF, 3},
        {0xF0, 0xF4, 4}, {0xF5, 0xFF, 0},  // above U+10FFFF, or nothing at all
    };
    unsigned int expected = 0;
    for (const Range& range : kRanges) {
        ASSERT_EQ(range.first, expected);
        for (; expected <= range.last; ++expected) {
            EXPECT_EQ(common::AnnouncedUtf8Length(static_cast<unsigned char>(expected)),
                      range.length)
                << expected;
        }
    }
    EXPECT_EQ(expected, 0x100U);
}

void ExpectDecoded(std::string_view text, char32_t character, std::size_t length) {
    const common::DecodedCharacter decoded = common::DecodeUtf8(text);
    EXPECT_TRUE(decoded.isWellFormed) << text;
    EXPECT_EQ(static_cast<unsigned long>(decoded.character), static_cast<unsigned long>(character));
    EXPECT_EQ(decoded.length, length);
}

TEST(Utf8, TheFirstCharacterIsDecoded) {
    ExpectDecoded(std::string_view("\0x", 2), U'\0', 1);
    ExpectDecoded("\x7F", 0x7F, 1);
    ExpectDecoded("\xC2\x80", 0x80, 2);
    ExpectDecoded("\xDF\xBFx", 0x7FF, 2);
    ExpectDecoded("\xE0\xA0\x80", 0x800, 3);
    ExpectDecoded("\xED\x9F\xBF", 0xD7FF, 3);
    ExpectDecoded("\xEE\x80\x80", 0xE000, 3);
    ExpectDecoded("\xEF\xBF\xBF\xFF", 0xFFFF, 3);
    ExpectDecoded("\xF0\x90\x80\x80", 0x10000, 4);
    ExpectDecoded("\xF4\x8F\xBF\xBF", 0x10FFFF, 4);
}

TEST(Utf8, WhatIsNotWellFormedIsOneByte) {
    for (const std::string_view text :
         {"\x80", "\xBF", "\xC0\xAF", "\xC1\xBF", "\xC2", "\xC2(", "\xE2\x82", "\xE2\x82(",
          "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
          "\xF0\x90\x80", "\xF5\x80\x80\x80", "\xFF"}) {
        const common::DecodedCharacter decoded = common::DecodeUtf8(text);
        EXPECT_FALSE(decoded.isWellFormed) << testing::PrintToString(text);
        EXPECT_EQ(static_cast<unsigned long>(decoded.character),
                  static_cast<unsigned char>(text.front()));
        EXPECT_EQ(decoded.length, 1U);
    }
}

TEST(Utf8, ATextIsWholeOrNot) {
    for (const std::string_view text : {"", "plain", "gr\xC3\xBCn", "\xF4\x8F\xBF\xBF end"}) {
        EXPECT_TRUE(common::IsUtf8(text)) << testing::PrintToString(text);
    }
    for (const std::string_view text : {"\xFF", "cut \xC3", "a\xED\xA0\x80z", "gr\xFCn"}) {
        EXPECT_FALSE(common::IsUtf8(text)) << testing::PrintToString(text);
    }
}

}  // namespace
