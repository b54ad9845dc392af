#pragma once

#include <span>
#include <string>
#include <vector>

namespace vault {

enum class Command { kList, kShow, kRestore, kExport, kEmpty, kHelp, kVersion };

/// What the arguments ask for.
struct Options {
    Command command = Command::kList;
    std::vector<std::string> items;  ///< names; for kEmpty none means all
    std::string folder;              ///< kRestore: where to; empty: where each has been
    std::string file;                ///< kExport: what is written
    bool isSure = false;             ///< kEmpty: without a question
    bool asJson = false;             ///< kList: an object a line instead of a table
};

/// What --help shows.
extern const char kUsage[];

/// Reads the arguments, the name of the program before them. False with a line, without newline,
/// that says what is wrong and may quote any byte of them. Used by one thread at a time.
bool ParseOptions(std::span<char* const> arguments, Options& options, std::string& problem);

}  // namespace vault
