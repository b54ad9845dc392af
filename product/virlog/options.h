#pragma once

#include <span>
#include <string>

#include "product/virlog/filter.h"
#include "product/virlog/formats.h"

enum class Command { kList, kUnlock, kHelp, kVersion };

/// What the arguments ask for.
struct Options {
    Command command = Command::kList;
    Format format = Format::kTable;
    RecordFilter filter;
};

/// What --help shows.
extern const char kUsage[];

/// Reads the arguments, without the name of the program. --help and --version hold at once,
/// whatever follows them; of an option given twice the last one holds, but every --text.
///
/// False with a line, without newline, that says what is wrong.
bool ParseOptions(std::span<char* const> arguments, Options& options, std::string& problem);
