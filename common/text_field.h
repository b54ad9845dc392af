#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace common {

/// Copies `text` into a fixed-size field, cut to leave room for the terminator; the rest of the
/// field is zeroed. True when nothing was cut.
bool CopyToField(std::span<char> field, std::string_view text);

/// Copies `text` into a field that need not be terminated: cut to the field, rest zeroed.
bool CopyToUnterminatedField(std::span<char> field, std::string_view text);

/// The text in a fixed-size field: up to its first zero byte, or all of it.
std::string_view FieldText(std::span<const char> field);

}  // namespace common
