#pragma once

#include <string_view>

// Lines on standard error. Any thread.

namespace shellscan {

/// Says a line, given without newline, after the program's name.
void Say(std::string_view line);

/// Says that something was not read, and why where that is known.
void SayUnread(std::string_view path, std::string_view reason);

}  // namespace shellscan
