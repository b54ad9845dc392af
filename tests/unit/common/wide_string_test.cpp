#include "common/wide_string.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using Units = std::vector<unsigned short>;

// The units of an ASCII text with its terminator, and room behind it filled with a mark.
Units Wide(const std::string& text, std::size_t room = 0) {
    Units units(text.begin(), text.end());
    units.push_back(0);
    units.resize(units.size() + room, 0xEEEE);
    return units;
}

// Short strings over a small alphabet that holds the folding's odd pairs, so that equal prefixes
// and hits are frequent.
class RandomStrings {
public:
    Units Next() {
        static constexpr std::array<unsigned short, 12> kAlphabet{
            'a', 'A', 'b', '@', '`', '[', '{', ' ', 0x00FF, 0x0100, 0x8041, 0x8061};
        Units units(m_engine() % 7);
        for (unsigned short& unit : units) {
            unit = kAlphabet[m_engine() % kAlphabet.size()];
        }
        units.push_back(0);
        return units;
    }
    std::size_t Count() { return m_engine() % 8; }

private:
    std::mt19937 m_engine{20260131};
};

constexpr int kRounds = 20000;

std::u16string Text(const Units& units) {
    return {units.begin(), std::find(units.begin(), units.end(), 0)};
}

int Sign(int value) {
    return value > 0 ? 1 : value < 0 ? -1 : 0;
}

// The comparison's rule, spelled out on whole strings instead of walking two pointers.
int NaiveFolded(std::u16string first, std::u16string second, std::size_t count) {
    first = first.substr(0, count);
    second = second.substr(0, count);
    const std::size_t both = std::min(first.size(), second.size());
    for (std::size_t i = 0; i < both; ++i) {
        if ((first[i] ^ second[i]) & ~0x20) {
            return (first[i] & ~0x20) > (second[i] & ~0x20) ? 1 : -1;
        }
    }
    return first.size() == second.size() ? 0 : first.size() > second.size() ? 1 : -1;
}

TEST(WideLength, CountsUnitsAndTakesNull) {
    EXPECT_EQ(my_wcslen(nullptr), 0U);
    EXPECT_EQ(my_wcslen(Wide("").data()), 0U);
    EXPECT_EQ(my_wcslen(Wide("abc").data()), 3U);
}

TEST(WideCopy, CopiesWithTheTerminatorAndNoFurther) {
    Units target = Wide("", 5);
    EXPECT_EQ(my_wcscpy(target.data(), Wide("ab").data()), target.data());
    EXPECT_EQ(target, (Units{'a', 'b', 0, 0xEEEE, 0xEEEE, 0xEEEE}));
}

TEST(WideCopy, CountedCopyPadsAndDoesNotTerminateAFullField) {
    Units target(5, 0xEEEE);
    my_wcsncpy(target.data(), Wide("ab").data(), 4);
    EXPECT_EQ(target, (Units{'a', 'b', 0, 0, 0xEEEE}));
    my_wcsncpy(target.data(), Wide("wxyz").data(), 3);
    EXPECT_EQ(target, (Units{'w', 'x', 'y', 0, 0xEEEE}));
}

TEST(WideCopy, NullArgumentsChangeNothing) {
    Units target = Wide("ab");
    EXPECT_EQ(my_wcscpy(target.data(), nullptr), target.data());
    EXPECT_EQ(my_wcsncpy(target.data(), nullptr, 2), target.data());
    EXPECT_EQ(my_wcscat(target.data(), nullptr), target.data());
    EXPECT_EQ(my_wcsncat(target.data(), nullptr, 2), target.data());
    EXPECT_EQ(my_wmemcpy(target.data(), nullptr, 2), target.data());
    EXPECT_EQ(my_wmemmove(target.data(), nullptr, 2), target.data());
    EXPECT_EQ(target, Wide("ab"));
    EXPECT_EQ(my_wcscpy(nullptr, target.data()), nullptr);
    EXPECT_EQ(my_wcsncpy(nullptr, target.data(), 2), nullptr);
    EXPECT_EQ(my_wcscat(nullptr, target.data()), nullptr);
    EXPECT_EQ(my_wcsncat(nullptr, target.data(), 2), nullptr);
    EXPECT_EQ(my_wmemcpy(nullptr, target.data(), 2), nullptr);
    EXPECT_EQ(my_wmemmove(nullptr, target.data(), 2), nullptr);
    EXPECT_EQ(my_wmemset(nullptr, 'x', 2), nullptr);
}

TEST(WideAppend, AppendsWholeOrCountedAndTerminates) {
    Units target = Wide("ab", 4);
    EXPECT_EQ(my_wcscat(target.data(), Wide("c").data()), target.data());
    EXPECT_EQ(target, (Units{'a', 'b', 'c', 0, 0xEEEE, 0xEEEE, 0xEEEE}));
    my_wcsncat(target.data(), Wide("defgh").data(), 2);
    EXPECT_EQ(target, (Units{'a', 'b', 'c', 'd', 'e', 0, 0xEEEE}));
}

TEST(WideSearch, FindsUnitsTheTerminatorIncluded) {
    const Units text = Wide("abca");
    EXPECT_EQ(my_wcschr(text.data(), 'a'), text.data());
    EXPECT_EQ(my_wcsrchr(text.data(), 'a'), text.data() + 3);
    EXPECT_EQ(my_wcschr(text.data(), 0), text.data() + 4);
    EXPECT_EQ(my_wcsrchr(text.data(), 0), text.data() + 4);
    EXPECT_EQ(my_wcschr(text.data(), 'x'), nullptr);
    EXPECT_EQ(my_wcsrchr(text.data(), 'x'), nullptr);
    EXPECT_EQ(my_wcschr(nullptr, 'a'), nullptr);
    EXPECT_EQ(my_wcsrchr(nullptr, 'a'), nullptr);
    EXPECT_EQ(my_wmemchr(nullptr, 'a', 3), nullptr);
}

TEST(WideSearch, FindsTextAndTheEmptyTextAtTheStart) {
    const Units text = Wide("aabab");
    EXPECT_EQ(my_wcsstr(text.data(), Wide("ab").data()), text.data() + 1);
    EXPECT_EQ(my_wcsstr(text.data(), Wide("").data()), text.data());
    EXPECT_EQ(my_wcsstr(text.data(), Wide("abc").data()), nullptr);
    const Units empty = Wide("");
    EXPECT_EQ(my_wcsstr(empty.data(), Wide("").data()), empty.data());
    EXPECT_EQ(my_wcsstr(empty.data(), Wide("a").data()), nullptr);
    EXPECT_EQ(my_wcsstr(nullptr, text.data()), nullptr);
    EXPECT_EQ(my_wcsstr(text.data(), nullptr), nullptr);
}

TEST(WideComparison, GivesOnlyMinusOneZeroAndOne) {
    EXPECT_EQ(my_wcscmp(Wide("abc").data(), Wide("abc").data()), 0);
    EXPECT_EQ(my_wcscmp(Wide("ab").data(), Wide("abc").data()), -1);
    EXPECT_EQ(my_wcscmp(Wide("b").data(), Wide("a").data()), 1);
    EXPECT_EQ(my_wcscscmp(Wide("a").data(), Wide("A").data()), 1);
    EXPECT_EQ(my_wcsncmp(Wide("abX").data(), Wide("abY").data(), 2), 0);
    EXPECT_EQ(my_wcsncmp(Wide("abX").data(), Wide("abY").data(), 3), -1);
    EXPECT_EQ(my_wcscmp(nullptr, Wide("a").data()), 1);
    EXPECT_EQ(my_wcscmp(Wide("a").data(), nullptr), 1);
    EXPECT_EQ(my_wmemcmp(nullptr, Wide("a").data(), 1), 1);
}

TEST(WideComparison, FoldsTheValue0x20OfEveryUnit) {
    EXPECT_EQ(my_wcsicmp(Wide("ABC").data(), Wide("abc").data()), 0);
    EXPECT_EQ(my_wcsicmp(Wide("@[").data(), Wide("`{").data()), 0);
    EXPECT_EQ(my_wcsicmp(Wide("ab").data(), Wide("a").data()), 1);
    EXPECT_EQ(my_wcsicmp(Wide("").data(), Wide("x").data()), -1);
    EXPECT_EQ(my_wcsicmp(Wide("").data(), Wide("").data()), 0);
    EXPECT_EQ(my_wcsicmp(Wide("a").data(), Wide("a ").data()), -1) << "a blank is not an end";
    EXPECT_EQ(my_wcsicmp(nullptr, nullptr), 1);
    EXPECT_EQ(my_wcsnicmp(Wide("ABx").data(), Wide("aby").data(), 2), 0);
    EXPECT_EQ(my_wcsnicmp(Wide("ABx").data(), Wide("aby").data(), 3), -1);
}

TEST(WideChange, ReversesFillsAndChangesAsciiCase) {
    Units text = Wide("aB[z");
    EXPECT_EQ(my_wcsrev(text.data()), text.data());
    EXPECT_EQ(text, Wide("z[Ba"));
    text[1] = 0xC4;
    my_wcslwr(text.data());
    EXPECT_EQ(text, (Units{'z', 0xC4, 'b', 'a', 0}));
    my_wcsupr(text.data());
    EXPECT_EQ(text, (Units{'Z', 0xC4, 'B', 'A', 0}));
    my_wcsnset(text.data(), 'x', 2);
    EXPECT_EQ(text, Wide("xxBA"));
    my_wcsnset(text.data(), 'y', 99);
    EXPECT_EQ(text, Wide("yyyy"));
    my_wcsset(text.data(), 0x1234);
    EXPECT_EQ(text, (Units{0x1234, 0x1234, 0x1234, 0x1234, 0}));
    EXPECT_EQ(my_wcsrev(nullptr), nullptr);
    EXPECT_EQ(my_wcslwr(nullptr), nullptr);
    EXPECT_EQ(my_wcsupr(nullptr), nullptr);
    EXPECT_EQ(my_wcsset(nullptr, 'x'), nullptr);
    EXPECT_EQ(my_wcsnset(nullptr, 'x', 1), nullptr);
}

TEST(WideMemory, CountsUnitsAndMovesOverlaps) {
    Units text{1, 0, 2, 3, 4};
    EXPECT_EQ(my_wmemchr(text.data(), 3, 5), text.data() + 3);
    EXPECT_EQ(my_wmemchr(text.data(), 3, 3), nullptr);
    my_wmemmove(text.data() + 1, text.data(), 4);
    EXPECT_EQ(text, (Units{1, 1, 0, 2, 3}));
    my_wmemmove(text.data(), text.data() + 1, 4);
    EXPECT_EQ(text, (Units{1, 0, 2, 3, 3}));
    my_wmemset(text.data() + 1, 9, 2);
    EXPECT_EQ(text, (Units{1, 9, 9, 3, 3}));
    const Units other{1, 9, 8, 3, 3};
    EXPECT_EQ(my_wmemcmp(text.data(), other.data(), 5), 1);
    EXPECT_EQ(my_wmemcmp(other.data(), text.data(), 5), -1);
    EXPECT_EQ(my_wmemcmp(text.data(), other.data(), 2), 0);
    EXPECT_EQ(my_wmemcpy(text.data(), other.data(), 5), text.data());
    EXPECT_EQ(text, other);
}

TEST(WideConversion, NarrowsToTheLowByte) {
    std::array<char, 8> bytes{};
    const Units units{0x1241, 0x00E9, 0};
    EXPECT_EQ(CopyWSZToSZ(bytes.data(), units.data()), bytes.data());
    EXPECT_STREQ(bytes.data(), "A\xE9");
    EXPECT_EQ(CatWSZToSZ(bytes.data(), units.data()), bytes.data());
    EXPECT_STREQ(bytes.data(),
                 "A\xE9"
                 "A\xE9");
}

TEST(WideConversion, WidensUnsignedButTheCountedFormSigned) {
    Units units(8, 0xEEEE);
    EXPECT_EQ(CopySZToWSZ(units.data(), "a\xE9"), units.data());
    EXPECT_EQ(units, (Units{'a', 0x00E9, 0, 0xEEEE, 0xEEEE, 0xEEEE, 0xEEEE, 0xEEEE}));
    EXPECT_EQ(CatSZToWSZ(units.data(), "\x80"), units.data());
    EXPECT_EQ(units, (Units{'a', 0x00E9, 0x0080, 0, 0xEEEE, 0xEEEE, 0xEEEE, 0xEEEE}));
    EXPECT_EQ(CopySZToWSZEx(units.data(), "\xE9\x7F\x80z", 3), units.data());
    EXPECT_EQ(units, (Units{0xFFE9, 0x007F, 0xFF80, 0, 0xEEEE, 0xEEEE, 0xEEEE, 0xEEEE}));
    EXPECT_EQ(CopySZToWSZEx(units.data(), "abc", 0), units.data());
    EXPECT_EQ(units[0], 0);
}

TEST(WideConversion, NullArgumentsGiveNull) {
    Units units(4);
    std::array<char, 4> bytes{};
    EXPECT_EQ(CopyWSZToSZ(nullptr, units.data()), nullptr);
    EXPECT_EQ(CopyWSZToSZ(bytes.data(), nullptr), nullptr);
    EXPECT_EQ(CopySZToWSZ(nullptr, "a"), nullptr);
    EXPECT_EQ(CopySZToWSZ(units.data(), nullptr), nullptr);
    EXPECT_EQ(CopySZToWSZEx(nullptr, "a", 1), nullptr);
    EXPECT_EQ(CopySZToWSZEx(units.data(), nullptr, 1), nullptr);
    EXPECT_EQ(CatWSZToSZ(nullptr, units.data()), nullptr);
    EXPECT_EQ(CatWSZToSZ(bytes.data(), nullptr), nullptr);
    EXPECT_EQ(CatSZToWSZ(nullptr, "a"), nullptr);
    EXPECT_EQ(CatSZToWSZ(units.data(), nullptr), nullptr);
}

TEST(WideProperty, ComparisonsAgreeWithWholeStringRules) {
    RandomStrings strings;
    for (int round = 0; round < kRounds; ++round) {
        const Units first = strings.Next();
        const Units second = strings.Next();
        const std::size_t count = strings.Count();
        const std::u16string left = Text(first);
        const std::u16string right = Text(second);
        ASSERT_EQ(my_wcscmp(first.data(), second.data()), Sign(left.compare(right)));
        ASSERT_EQ(my_wcsncmp(first.data(), second.data(), count),
                  Sign(left.substr(0, count).compare(right.substr(0, count))));
        ASSERT_EQ(my_wcsicmp(first.data(), second.data()), NaiveFolded(left, right, 99));
        ASSERT_EQ(my_wcsnicmp(first.data(), second.data(), count), NaiveFolded(left, right, count));
    }
}

TEST(WideProperty, SearchesAgreeWithTheStandardStrings) {
    RandomStrings strings;
    const auto at = [](const Units& text, const unsigned short* found) {
        return found == nullptr ? std::u16string::npos
                                : static_cast<std::size_t>(found - text.data());
    };
    for (int round = 0; round < kRounds; ++round) {
        const Units text = strings.Next();
        const Units needle = strings.Next();
        ASSERT_EQ(at(text, my_wcsstr(text.data(), needle.data())), Text(text).find(Text(needle)));
        if (needle[0] != 0) {
            ASSERT_EQ(at(text, my_wcschr(text.data(), needle[0])),
                      Text(text).find(static_cast<char16_t>(needle[0])));
            ASSERT_EQ(at(text, my_wcsrchr(text.data(), needle[0])),
                      Text(text).rfind(static_cast<char16_t>(needle[0])));
        }
    }
}

TEST(WideProperty, CopiesAndAppendsAgreeWithTheStandardStrings) {
    RandomStrings strings;
    for (int round = 0; round < kRounds; ++round) {
        const Units first = strings.Next();
        const Units second = strings.Next();
        const std::size_t count = strings.Count();
        Units target(32, 0xEEEE);
        my_wcscpy(target.data(), first.data());
        ASSERT_EQ(Text(target), Text(first));
        my_wcsncat(target.data(), second.data(), count);
        ASSERT_EQ(Text(target), Text(first) + Text(second).substr(0, count));
        my_wcscat(target.data(), second.data());
        ASSERT_EQ(Text(target), Text(first) + Text(second).substr(0, count) + Text(second));
        std::u16string reversed = Text(target);
        std::reverse(reversed.begin(), reversed.end());
        my_wcsrev(target.data());
        ASSERT_EQ(Text(target), reversed);
    }
}

}  // namespace
