#pragma once

#include <string_view>

namespace updturl {

/// Writes a line to the update log, which an ordinary user may be unable to do, and to the log of
/// the system. Control characters become "?", so that one text is one line. Any thread.
void LogUpdate(std::string_view text);

}  // namespace updturl
