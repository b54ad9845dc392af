#include "product/libdbmod/admin/arguments.h"

#include <getopt.h>
#include <string_view>

namespace dbmod {

namespace {

/// What getopt_long gives back; 1 is its own, for a word that is no option.
enum Option : int { kOptionWord = 1, kOptionStdin, kOptionHelp, kOptionVersion };

// Words are given back where they stand, too: otherwise the environment could say that the options
// end at the first one.
constexpr char kWordsInOrder[] = "-";

constexpr option kOptions[] = {
    {"stdin", no_argument, nullptr, kOptionStdin},
    {"help", no_argument, nullptr, kOptionHelp},
    {"version", no_argument, nullptr, kOptionVersion},
    {nullptr, 0, nullptr, 0},
};

std::optional<AdminCommand> CommandOfName(std::string_view name) {
    constexpr struct {
        std::string_view name;
        AdminCommand command;
    } kCommands[] = {
        {"set-password", AdminCommand::kSetPassword},
        {"clear-password", AdminCommand::kClearPassword},
        {"status", AdminCommand::kStatus},
        {"init", AdminCommand::kInit},
    };
    for (const auto& known : kCommands) {
        if (known.name == name) {
            return known.command;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<AdminArguments> ParseAdminArguments(int argc, char** argv) {
    AdminArguments arguments;
    std::optional<AdminCommand> command;
    opterr = 0;  // What is not known is not repeated.
    int found = 0;
    while ((found = getopt_long(argc, argv, kWordsInOrder, kOptions, nullptr)) != -1) {
        if (found == kOptionStdin) {
            arguments.fromStandardInput = true;
        } else if (found == kOptionWord && !command) {
            command = CommandOfName(optarg);
            if (!command) {
                return std::nullopt;
            }
        } else if ((found == kOptionHelp || found == kOptionVersion) && !command) {
            command = found == kOptionHelp ? AdminCommand::kHelp : AdminCommand::kVersion;
        } else {
            return std::nullopt;
        }
    }
    if (optind < argc && !command) {
        command = CommandOfName(argv[optind++]);
    }
    const bool isWhole = command && optind == argc;
    if (!isWhole || (arguments.fromStandardInput && command != AdminCommand::kSetPassword)) {
        return std::nullopt;
    }
    arguments.command = *command;
    return arguments;
}

}  // namespace dbmod
