#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/output.h"

using common::Output;

/// Says a line, given without newline, on standard error, after the program's name.
void Say(std::string_view line);

/// The number with `one` behind it where it is 1, else with `many`.
std::string Counted(std::uint64_t count, const char* one, const char* many);

/// Says on standard error that the output could not be written and why; nothing when whoever read
/// it has gone, as the end of a pipe does.
void ReportFailure(const Output& output);
