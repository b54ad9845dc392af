#pragma once

namespace common {

/// Inside a catch: adds the line "In WHERE: REASON" to g_szLogFile. Any thread; throws nothing, and
/// without memory writes nothing.
void LogException(const char* where) noexcept;

}  // namespace common
