#pragma once

#include <span>
#include <string>

namespace scanhost {

enum class Command {
    kServe,  ///< load databases and scan, for the engine at the control socket
    kCheck,
    kHelp,
    kVersion,
};

extern const char kUsage[];

/// Reads the arguments, the program's name first. False with what is wrong in `problem`. Uses
/// getopt: one thread.
bool ParseOptions(std::span<char* const> arguments, Command& command, std::string& problem);

}  // namespace scanhost
