#include "common/misleading_characters.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace {

struct Range {
    std::uint32_t first;
    std::uint32_t last;
};

void ExpectAll(const Range& range, bool expected) {
    for (std::uint32_t c = range.first; c <= range.last; ++c) {
        EXPECT_EQ(common::IsMisleading(static_cast<char32_t>(c)), expected) << std::hex << c;
    }
}

TEST(MisleadingCharacters, AreControlsAndLineSeparators) {
    for (const Range& range : {Range{0x00, 0x1F}, {0x7F, 0x9F}, {0x2028, 0x2029}}) {
        ExpectAll(range, true);
    }
}

// The whole property Bidi_Control.
TEST(MisleadingCharacters, AreAllThatChangeTheDirection) {
    for (const Range& range :
         {Range{0x061C, 0x061C}, {0x200E, 0x200F}, {0x202A, 0x202E}, {0x2066, 0x2069}}) {
        ExpectAll(range, true);
    }
}

// The whole property Default_Ignorable_Code_Point as the standard lists it, without the joiners and
// the variation selectors.
TEST(MisleadingCharacters, AreAllThatIsIgnorable) {
    for (const Range& range :
         {Range{0x00AD, 0x00AD}, {0x034F, 0x034F},   {0x061C, 0x061C},   {0x115F, 0x1160},
          {0x17B4, 0x17B5},      {0x180E, 0x180E},   {0x200B, 0x200B},   {0x200E, 0x200F},
          {0x202A, 0x202E},      {0x2060, 0x2064},   {0x2065, 0x2065},   {0x2066, 0x206F},
          {0x3164, 0x3164},      {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFF8},
          {0x1BCA0, 0x1BCA3},    {0x1D173, 0x1D17A}, {0xE0000, 0xE00FF}, {0xE01F0, 0xE0FFF}}) {
        ExpectAll(range, true);
    }
}

// Names in Persian, in the scripts of India and of Mongolia and with emoji are full of them.
TEST(MisleadingCharacters, AreNotTheJoinersAndVariationSelectors) {
    for (const Range& range : {Range{0x200C, 0x200D},
                               {0xFE00, 0xFE0F},
                               {0xE0100, 0xE01EF},
                               {0x180B, 0x180D},
                               {0x180F, 0x180F}}) {
        ExpectAll(range, false);
    }
}

TEST(MisleadingCharacters, AreAnnotationsAndWhatIsNoCharacter) {
    for (const Range& range : {Range{0xFFF9, 0xFFFB}, {0xFDD0, 0xFDEF}}) {
        ExpectAll(range, true);
    }
    for (std::uint32_t plane = 0; plane <= 0x10; ++plane) {
        ExpectAll({(plane << 16) + 0xFFFE, (plane << 16) + 0xFFFF}, true);
    }
}

// Each neighbour of what is misleading, and what looks as if it could belong there.
TEST(MisleadingCharacters, AreNothingElse) {
    for (const Range& range :
         {Range{0x20, 0x7E},   {0xA0, 0xAC},       {0xAE, 0x34E},      {0x350, 0x61B},
          {0x61D, 0x115E},     {0x1161, 0x17B3},   {0x17B6, 0x180A},   {0x1810, 0x200A},
          {0x2010, 0x2027},    {0x202F, 0x205F},   {0x2070, 0x3163},   {0x3165, 0xD7FF},
          {0xE000, 0xFDCF},    {0xFDF0, 0xFDFF},   {0xFE10, 0xFEFE},   {0xFF00, 0xFF9F},
          {0xFFA1, 0xFFEF},    {0xFFFC, 0xFFFD},   {0x10000, 0x1BC9F}, {0x1BCA4, 0x1D172},
          {0x1D17B, 0x1FFFD},  {0x20000, 0x2FFFD}, {0xDFFF0, 0xDFFFD}, {0xE1000, 0xEFFFD},
          {0x10FFF0, 0x10FFFD}}) {
        ExpectAll(range, false);
    }
}

}  // namespace
