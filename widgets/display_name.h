#pragma once

#include <string_view>

#include <QString>

/// The bytes of a file name or path as text to look at, never to open: what is UTF-8 as it stands,
/// and what could mislead the eye (IsMisleading) made visible.
///   a byte that is not part of UTF-8   "\xE9"
///   an ASCII control character         "\n", "\t", "\r", others "\x1B"
///   any other that may mislead         "\u202E", and beyond four digits "\U000E0041"
/// The result is plain text: show it with Qt::PlainText, since a name may look like markup.
QString DisplayName(std::string_view bytes);

/// The same of a path that is shortened as GetShortPath does: to `width` bytes, its head and its
/// tail kept. A character that the cut goes through is left out, and so is what the escapes leave
/// no room for: the text never has more than `width` characters. Empty for a null path and a
/// `width` below 1.
QString ShortDisplayPath(const char* path, int width);
