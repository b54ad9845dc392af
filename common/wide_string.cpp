#include "common/wide_string.h"

#include <algorithm>

#include "common/string_algorithms.h"

namespace {

using Unit = unsigned short;

Unit* Mutable(const Unit* found) {
    return const_cast<Unit*>(found);
}

// Stores `length` characters of `source`, each made by `convert`, and a terminator.
template <typename To, typename From, typename Convert>
To* Store(To* destination, const From* source, std::size_t length, Convert convert) {
    *std::transform(source, source + length, destination, convert) = 0;
    return destination;
}

constexpr auto kSame = [](Unit unit) { return unit; };
constexpr auto kLowByte = [](Unit unit) { return static_cast<char>(unit & 0xFF); };
constexpr auto kWidened = [](char byte) { return Unit{static_cast<unsigned char>(byte)}; };
// Bytes of 0x80 and more become 0xFF80 to 0xFFFF: readers of the existing files expect them so.
constexpr auto kSignWidened = [](char byte) {
    return static_cast<Unit>(static_cast<signed char>(byte));
};

}  // namespace

std::size_t my_wcslen(const Unit* string) {
    return text::Length(string);
}

Unit* my_wcscpy(Unit* destination, const Unit* source) {
    if (destination == nullptr || source == nullptr) {
        return destination;
    }
    return Store(destination, source, text::Length(source), kSame);
}

Unit* my_wcsncpy(Unit* destination, const Unit* source, std::size_t count) {
    if (destination == nullptr || source == nullptr) {
        return destination;
    }
    const std::size_t length = text::LengthWithin(source, count);
    std::fill(std::copy(source, source + length, destination), destination + count, Unit{0});
    return destination;
}

Unit* my_wcscat(Unit* destination, const Unit* source) {
    return my_wcsncat(destination, source, text::kWhole);
}

Unit* my_wcsncat(Unit* destination, const Unit* source, std::size_t count) {
    if (destination != nullptr && source != nullptr) {
        Store(destination + text::Length(destination), source, text::LengthWithin(source, count),
              kSame);
    }
    return destination;
}

Unit* my_wcschr(const Unit* string, Unit unit) {
    return string == nullptr ? nullptr : my_wmemchr(string, unit, text::Length(string) + 1);
}

Unit* my_wcsrchr(const Unit* string, Unit unit) {
    if (string == nullptr) {
        return nullptr;
    }
    for (const Unit* at = string + text::Length(string);; --at) {
        if (*at == unit) {
            return Mutable(at);
        }
        if (at == string) {
            return nullptr;
        }
    }
}

Unit* my_wcsstr(const Unit* string, const Unit* needle) {
    return Mutable(text::FindText(string, needle));
}

int my_wcscmp(const Unit* first, const Unit* second) {
    return text::Compare(first, second);
}

int my_wcscscmp(const Unit* first, const Unit* second) {
    return text::Compare(first, second);
}

int my_wcsncmp(const Unit* first, const Unit* second, std::size_t count) {
    return text::Compare(first, second, count);
}

int my_wcsicmp(const Unit* first, const Unit* second) {
    return text::CompareFolded(first, second);
}

int my_wcsnicmp(const Unit* first, const Unit* second, std::size_t count) {
    return text::CompareFolded(first, second, count);
}

Unit* my_wcsrev(Unit* string) {
    return text::Reverse(string);
}

Unit* my_wcslwr(Unit* string) {
    return text::ChangeEach(string, text::kWhole, text::LowerAscii<Unit>);
}

Unit* my_wcsupr(Unit* string) {
    return text::ChangeEach(string, text::kWhole, text::UpperAscii<Unit>);
}

Unit* my_wcsset(Unit* string, Unit unit) {
    return my_wcsnset(string, unit, text::kWhole);
}

Unit* my_wcsnset(Unit* string, Unit unit, std::size_t count) {
    return text::ChangeEach(string, count, [unit](Unit) { return unit; });
}

Unit* my_wmemchr(const Unit* units, Unit unit, std::size_t count) {
    if (units == nullptr) {
        return nullptr;
    }
    const Unit* found = std::find(units, units + count, unit);
    return found == units + count ? nullptr : Mutable(found);
}

int my_wmemcmp(const Unit* first, const Unit* second, std::size_t count) {
    if (first == nullptr || second == nullptr) {
        return 1;
    }
    const auto [left, right] = std::mismatch(first, first + count, second);
    if (left == first + count) {
        return 0;
    }
    return *left > *right ? 1 : -1;
}

Unit* my_wmemcpy(Unit* destination, const Unit* source, std::size_t count) {
    return my_wmemmove(destination, source, count);
}

Unit* my_wmemmove(Unit* destination, const Unit* source, std::size_t count) {
    if (destination == nullptr || source == nullptr) {
        return destination;
    }
    if (destination <= source) {
        std::copy(source, source + count, destination);
    } else {
        std::copy_backward(source, source + count, destination + count);
    }
    return destination;
}

Unit* my_wmemset(Unit* units, Unit unit, std::size_t count) {
    if (units != nullptr) {
        std::fill_n(units, count, unit);
    }
    return units;
}

char* CopyWSZToSZ(char* destination, const Unit* source) {
    if (destination == nullptr || source == nullptr) {
        return nullptr;
    }
    return Store(destination, source, text::Length(source), kLowByte);
}

Unit* CopySZToWSZ(Unit* destination, const char* source) {
    if (destination == nullptr || source == nullptr) {
        return nullptr;
    }
    return Store(destination, source, text::Length(source), kWidened);
}

Unit* CopySZToWSZEx(Unit* destination, const char* source, std::size_t count) {
    if (destination == nullptr || source == nullptr) {
        return nullptr;
    }
    return Store(destination, source, text::LengthWithin(source, count), kSignWidened);
}

char* CatWSZToSZ(char* destination, const Unit* source) {
    if (destination == nullptr || source == nullptr) {
        return nullptr;
    }
    Store(destination + text::Length(destination), source, text::Length(source), kLowByte);
    return destination;
}

Unit* CatSZToWSZ(Unit* destination, const char* source) {
    if (destination == nullptr || source == nullptr) {
        return nullptr;
    }
    Store(destination + text::Length(destination), source, text::Length(source), kWidened);
    return destination;
}
