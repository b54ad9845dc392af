#pragma once

#include <string_view>

#include <QString>

/// Bytes from a disk or an engine as text to show, and only to show. What is not UTF-8, breaks a
/// line or turns the reading direction is shown as U+FFFD, so that no name can look like another
/// line of the dialog.
QString DisplayText(std::string_view bytes);

/// The same of a path that is shortened to `width` bytes.
QString ShortDisplayPath(const char* path, int width);
