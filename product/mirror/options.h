#pragma once

#include <span>
#include <string>
#include <vector>

enum class MirrorCommand { kPublish, kHelp, kVersion };

/// What the arguments ask for.
struct MirrorOptions {
    MirrorCommand command = MirrorCommand::kPublish;
    std::string folder;             ///< the mirror
    std::vector<std::string> from;  ///< folders with databases; none: what this machine uses
    std::string key;                ///< file of the secret key; empty: the index waits for one
    bool isSigned = false;          ///< publishes the index that has waited
    unsigned int days = 14;         ///< until the index expires
};

/// What --help shows.
extern const char kMirrorUsage[];

/// Reads the arguments, the name of the program before them. False with a line, without newline,
/// that says what is wrong. Used by one thread at a time.
bool ParseMirrorOptions(std::span<char* const> arguments, MirrorOptions& options,
                        std::string& problem);
