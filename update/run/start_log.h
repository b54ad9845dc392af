#pragma once

#include <string>

namespace update {

/// Writes `line` to the program's log, which only its owner may write, and to the log of the
/// system: why an update did not start is to be found whoever asked for it. Any thread.
void LogUpdateStart(const std::string& line);

}  // namespace update
