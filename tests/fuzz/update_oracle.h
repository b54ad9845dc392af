#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "product/updturl/message.h"

// Second, plain readers of what the updater's processes say to each other.

/// The longest line, its newline included.
inline constexpr std::size_t kOracleLongestLine = 4096;

/// What a percent-encoded value stands for; none for one that nobody writes.
std::optional<std::string> OracleText(std::string_view value);

/// What a line without its newline says; none for one that says nothing.
std::optional<updturl::Message> OracleMessage(std::string_view line);
