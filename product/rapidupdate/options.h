#pragma once

#include <optional>
#include <span>

#include "product/rapidupdate/planner.h"

namespace rapidupdate {

/// What the command line asks for.
struct Options {
    bool isHelp = false;
    bool isVersion = false;
    bool isOnce = false;              ///< one update at once, and no service
    bool isLogOnScreen = false;       ///< what is logged goes to standard error too
    std::optional<Seconds> firstRun;  ///< after the start, in place of some minutes after boot
};

/// `arguments` without the program's name. None for what is not understood.
std::optional<Options> ParseOptions(std::span<const char* const> arguments);

inline constexpr char kUsage[] =
    "Usage: corvane-rapidupdate [--after SECONDS] [--log-on-screen]\n"
    "       corvane-rapidupdate --once [--log-on-screen]\n"
    "       corvane-rapidupdate --help | --version\n";

}  // namespace rapidupdate
