#pragma once

#include <string_view>

#include <QString>

/// The bytes of a file name or path as text to look at, never to open: what is UTF-8 as it stands,
/// and what could mislead the eye made visible.
///   a byte that is not part of UTF-8        "\xE9"
///   a control character                     "\n", "\t", "\r", others "\x1B"
///   a character that breaks the line or
///   turns the writing direction round       "\u202E"
/// The result is plain text: show it with Qt::PlainText, since a name may look like markup.
QString DisplayName(std::string_view bytes);

/// The same of a path that is shortened to `width` bytes, its head and its tail kept. Empty for a
/// null path.
QString ShortDisplayPath(const char* path, int width);
