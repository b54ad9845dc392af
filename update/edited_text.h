#pragma once

#include <string>
#include <string_view>

class QLineEdit;

// Bytes from a file in a line that a person may edit. What the person leaves alone keeps its bytes,
// also those that are no UTF-8 or do not fit into the line. GUI thread.

/// Shows `bytes` in `line`: what is no text, and what could mislead, as escapes.
void ShowBytes(QLineEdit& line, std::string_view bytes);

/// What stands in `line`: `shown` while it is what ShowBytes made of it, else its text in UTF-8.
std::string EditedBytes(const QLineEdit& line, std::string_view shown);
