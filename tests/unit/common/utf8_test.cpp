#include "common/utf8.h"

#include <gtest/gtest.h>

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
            EXPECT_EQ(AnnouncedUtf8Length(static_cast<unsigned char>(expected)), range.length)
                << expected;
        }
    }
    EXPECT_EQ(expected, 0x100U);
}

}  // namespace
