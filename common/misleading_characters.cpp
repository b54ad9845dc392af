#include "common/misleading_characters.h"

#include <algorithm>
#include <iterator>

namespace common {

namespace {

struct CharacterRange {
    char32_t first;
    char32_t last;
};

// In order. Neighbours are one range, whichever part of the rule they come from. The gaps at
// U+180B, U+180F, U+200C, U+FE00 and U+E0100 are the joiners and variation selectors.
constexpr CharacterRange kMisleading[] = {
    {0x0000, 0x001F},    // C0 controls
    {0x007F, 0x009F},    // DEL and C1 controls
    {0x00AD, 0x00AD},    // soft hyphen
    {0x034F, 0x034F},    // combining grapheme joiner
    {0x061C, 0x061C},    // Arabic letter mark
    {0x115F, 0x1160},    // Hangul fillers
    {0x17B4, 0x17B5},    // Khmer inherent vowels
    {0x180E, 0x180E},    // Mongolian vowel separator
    {0x200B, 0x200B},    // zero width space
    {0x200E, 0x200F},    // direction marks
    {0x2028, 0x202E},    // line and paragraph separator; direction embeddings and overrides
    {0x2060, 0x206F},    // word joiner, invisible operators, direction isolates
    {0x3164, 0x3164},    // Hangul filler
    {0xFDD0, 0xFDEF},    // no characters
    {0xFEFF, 0xFEFF},    // byte order mark
    {0xFFA0, 0xFFA0},    // halfwidth Hangul filler
    {0xFFF0, 0xFFFB},    // unassigned and ignorable; interlinear annotations
    {0x1BCA0, 0x1BCA3},  // shorthand format controls
    {0x1D173, 0x1D17A},  // musical beams, ties, slurs and phrases
    {0xE0000, 0xE00FF},  // tags, and what is kept for their like
    {0xE01F0, 0xE0FFF},  // the same, behind the variation selectors
};

}  // namespace

bool IsMisleading(char32_t character) {
    if (character >= 0x20 && character < 0x7F) {
        return false;  // nearly every character there is
    }
    if ((character & 0xFFFE) == 0xFFFE) {
        return true;  // The last two of every plane are no characters.
    }
    const auto* const range =
        std::lower_bound(std::begin(kMisleading), std::end(kMisleading), character,
                         [](const CharacterRange& r, char32_t c) { return r.last < c; });
    return range != std::end(kMisleading) && range->first <= character;
}

}  // namespace common
