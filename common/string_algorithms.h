#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <type_traits>

// The string functions that the byte and the wide family share, written once over the character
// type. Every pointer may be null; what that means is said with the public functions.

namespace text {

/// A character as the unsigned value that comparisons go by.
template <typename Char>
constexpr auto Unsigned(Char character) {
    return static_cast<std::make_unsigned_t<Char>>(character);
}

template <typename Char>
std::size_t Length(const Char* string) {
    std::size_t length = 0;
    while (string != nullptr && string[length] != 0) {
        ++length;
    }
    return length;
}

/// The length, but at most `limit`; reads no further than that.
template <typename Char>
std::size_t LengthWithin(const Char* string, std::size_t limit) {
    std::size_t length = 0;
    while (string != nullptr && length < limit && string[length] != 0) {
        ++length;
    }
    return length;
}

template <typename Char>
const Char* FindText(const Char* haystack, const Char* needle) {
    if (haystack == nullptr || needle == nullptr) {
        return nullptr;
    }
    const Char* end = haystack + Length(haystack);
    const Char* needleEnd = needle + Length(needle);
    const Char* found = std::search(haystack, end, needle, needleEnd);
    return found == end && needle != needleEnd ? nullptr : found;
}

template <typename Char>
Char* Reverse(Char* string) {
    std::reverse(string, string + Length(string));
    return string;
}

template <typename Char>
constexpr Char LowerAscii(Char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<Char>(character + 0x20) : character;
}

template <typename Char>
constexpr Char UpperAscii(Char character) {
    return character >= 'a' && character <= 'z' ? static_cast<Char>(character - 0x20) : character;
}

inline constexpr auto kAreEqualIgnoringCase = [](char a, char b) {
    return LowerAscii(a) == LowerAscii(b);
};

/// Without regard to ASCII case.
inline bool EqualsIgnoringCase(std::string_view first, std::string_view second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      kAreEqualIgnoringCase);
}

/// Whether `part` stands anywhere in `whole`, without regard to ASCII case; an empty one always
/// does.
inline bool ContainsIgnoringCase(std::string_view whole, std::string_view part) {
    return part.empty() || std::search(whole.begin(), whole.end(), part.begin(), part.end(),
                                       kAreEqualIgnoringCase) != whole.end();
}

/// Applies `change` to the first `count` characters, or to all up to the terminator.
template <typename Char, typename Change>
Char* ChangeEach(Char* string, std::size_t count, Change change) {
    const std::size_t length = LengthWithin(string, count);
    std::transform(string, string + length, string, change);
    return string;
}

inline constexpr std::size_t kWhole = static_cast<std::size_t>(-1);

/// -1, 0 or 1 by the first `count` characters; a null argument gives 1.
template <typename Char>
int Compare(const Char* first, const Char* second, std::size_t count = kWhole) {
    if (first == nullptr || second == nullptr) {
        return 1;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (first[i] != second[i]) {
            return Unsigned(first[i]) > Unsigned(second[i]) ? 1 : -1;
        }
        if (first[i] == 0) {
            return 0;
        }
    }
    return 0;
}

/// The same without regard to the value 0x20 of each character: not only letters fold, so "@" is
/// equal to "`" and "[" to "{". Names stored with this comparison rely on it.
template <typename Char>
int CompareFolded(const Char* first, const Char* second, std::size_t count = kWhole) {
    if (first == nullptr || second == nullptr) {
        return 1;
    }
    constexpr auto fold = [](Char character) {
        return static_cast<unsigned int>(Unsigned(character)) & ~0x20U;
    };
    for (std::size_t i = 0; i < count; ++i) {
        if (first[i] == 0) {
            return second[i] == 0 ? 0 : -1;
        }
        if (second[i] == 0) {
            return 1;
        }
        if (fold(first[i]) != fold(second[i])) {
            return fold(first[i]) > fold(second[i]) ? 1 : -1;
        }
    }
    return 0;
}

}  // namespace text
