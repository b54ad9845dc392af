#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "product/virlog/filter.h"
#include "product/virlog/formats.h"

enum class Command { kList, kKeep, kUnlock, kHelp, kVersion };

/// What the arguments ask for.
struct Options {
    Command command = Command::kList;
    Format format = Format::kTable;
    RecordFilter filter;
    std::uint32_t keep = 0;  ///< how many records stay, for kKeep
};

/// What --help shows.
extern const char kUsage[];

/// Reads the arguments, the name of the program before them. A name may be shortened as long as it
/// is one option's only. --help and --version hold at once, whatever follows them; of an option
/// given twice the last one holds, but every --text.
///
/// False with a line, without newline, that says what is wrong. Used by one thread at a time.
bool ParseOptions(std::span<char* const> arguments, Options& options, std::string& problem);
