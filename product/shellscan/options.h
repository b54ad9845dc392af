#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "common/scan_settings.h"

namespace shellscan {

enum class Command { kScan, kHelp, kVersion };
enum class Format { kText, kJson };

/// What the arguments ask for. Nothing else decides what a scan does: the settings of the window
/// are a file that every user may write.
struct Options {
    Command command = Command::kScan;
    tagSCNOPTS settings{kActionReportOnly, common::kDefaultScanSettings.flags};
    Format format = Format::kText;
    bool isQuiet = false;
    bool showsProgress = false;
    bool notifies = false;
    std::vector<std::string> excluded;     ///< globs
    std::optional<std::string> filesFrom;  ///< a file of paths, or "-"
    std::optional<int> reportDescriptor;
    std::optional<int> resultDescriptor;
    std::string reportNote;
    std::vector<std::string> paths;
};

/// What --help shows.
extern const char kUsage[];

/// Reads the arguments, the name of the program before them. A name may be shortened as long as it
/// is one option's only. --help and --version hold at once, whatever follows them; of an option
/// given twice the last one holds, but every --exclude.
///
/// False with a line, without newline, that says what is wrong. Used by one thread at a time.
bool ParseOptions(std::span<char* const> arguments, Options& options, std::string& problem);

}  // namespace shellscan
