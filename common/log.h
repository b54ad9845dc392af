#pragma once

namespace common {

inline constexpr char kCommonLog[] = "/zqcommon.log";

}  // namespace common

/// Appends `message` and a newline to the log at `path`, creating it; its mode becomes 0644. Every
/// failure is silent; a null argument does nothing. Any thread.
void WriteToLog(const char* path, const char* message);
