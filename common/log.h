#pragma once

#include <string_view>

namespace common {

inline constexpr char kCommonLog[] = "/zqcommon.log";

/// Appends `message` and a newline to the log at `path`, creating it; its mode becomes 0644. False
/// when that could not be done whole. Any thread.
bool AppendToLog(const char* path, std::string_view message);

}  // namespace common

/// Appends `message` and a newline to the log at `path`, creating it; its mode becomes 0644. Every
/// failure is silent; a null argument does nothing. Any thread.
void WriteToLog(const char* path, const char* message);
