#pragma once

#include <string>
#include <string_view>

// The one rule by which texts of the log are made fit to be shown, in every format. The way back is
// unambiguous:
//
//   \\        a backslash
//   \xHH      a byte that is not part of well-formed UTF-8
//   \u{HHHH}  a character that is a command to the terminal, that changes the order in which others
//             are shown, or one of those that are not seen; four to six digits
//
// The manual lists these characters. Digits are lower-case hexadecimal. Everything else stands for
// itself, also what is not seen and is part of how a language or a symbol is written. Any thread.

/// Appends `text` to `out` by the rule; what it appends is always well-formed UTF-8 in one line.
void AppendEscaped(std::string& out, std::string_view text);

std::string Escaped(std::string_view text);

/// Appends one character as \u{HHHH}, whether the rule asks for it or not.
void AppendCharacterEscape(std::string& out, char32_t character);
