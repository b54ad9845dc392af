#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

enum class MirrorCommand { kPublish, kHelp, kVersion };

/// How many days an index is good for unless told.
inline constexpr unsigned int kUsualDays = 14;

/// What the arguments ask for.
struct MirrorOptions {
    MirrorCommand command = MirrorCommand::kPublish;
    std::string folder;                ///< the mirror
    std::vector<std::string> from;     ///< folders with databases; none: what this machine uses
    std::string key;                   ///< file of the secret key; empty: the index waits for one
    bool isSigned = false;             ///< publishes the index that has waited
    std::optional<unsigned int> days;  ///< until the index expires; none: kUsualDays
};

/// What --help shows.
extern const char kMirrorUsage[];

/// Reads the arguments, the name of the program before them. False with a line, without newline,
/// that says what is wrong. Used by one thread at a time.
bool ParseMirrorOptions(std::span<char* const> arguments, MirrorOptions& options,
                        std::string& problem);
