#pragma once

#include <string>
#include <string_view>

// The one rule by which programs for the shell make names that others have chosen fit to be shown.
// The way back is unambiguous:
//
//   \\        a backslash
//   \xHH      a byte that is not part of well-formed UTF-8
//   \u{HHHH}  a character that may mislead (misleading_characters.h); four to six digits
//
// The manual of corvane-virlog lists these characters. Digits are lower-case hexadecimal.
// Everything else stands for itself. Any thread.

namespace common {

/// Appends `text` to `out` by the rule; what it appends is always well-formed UTF-8 in one line.
void AppendEscaped(std::string& out, std::string_view text);

std::string Escaped(std::string_view text);

/// Appends one character as \u{HHHH}, whether the rule asks for it or not.
void AppendCharacterEscape(std::string& out, char32_t character);

}  // namespace common
