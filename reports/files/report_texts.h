#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>

// What the reports of all scans have in common.

namespace reports {

inline constexpr char kLegalNotice[] =
    "Copyright (C) 2026 the Corvane developers.\n"
    "This program comes without any warranty.";

/// A line across the page, without its end.
inline std::string Rule(std::size_t length) {
    return std::string(length, '-');
}

/// The line between two sections, and the empty one below it.
inline std::string Section() {
    return Rule(66) + "\n\n";
}

/// A text that a report takes from printf, at most 1,023 bytes.
template <typename... Arguments>
std::string Formatted(const char* format, Arguments... arguments) {
    std::array<char, 1024> text{};
    (void)std::snprintf(text.data(), text.size(), format, arguments...);
    return text.data();
}

}  // namespace reports
