#pragma once

#include <charconv>
#include <optional>
#include <string_view>

#include "product/definitions/official_database.h"

namespace definitions {

/// The number that `text` is in decimal digits and nothing else.
template <typename Number>
std::optional<Number> NumberOf(std::string_view text) {
    Number number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const bool isNumber = error == std::errc() && stop == end && text.front() != '-';
    return isNumber ? std::optional(number) : std::nullopt;
}

/// Reads "ClamAV-VDB:date:version:signatures:level:digest:signature:builder:seconds", which is the
/// head of a database, filled up with blanks, and the first line of the signed list in it.
std::optional<DatabaseState> ParseHead(std::string_view line);

}  // namespace definitions
