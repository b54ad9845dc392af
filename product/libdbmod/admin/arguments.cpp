#include "product/libdbmod/admin/arguments.h"

#include <getopt.h>
#include <string_view>

namespace dbmod {

namespace {

/// What getopt_long gives back; 1 is its own, for a word that is no option.
enum Option : int {
    kOptionWord = 1,
    kOptionStdin,
    kOptionRollback,
    kOptionNone,
    kOptionHelp,
    kOptionVersion
};

// Words are given back where they stand, too: otherwise the environment could say that the options
// end at the first one.
constexpr char kWordsInOrder[] = "-";

constexpr std::size_t kMaxAddresses = 100;

constexpr option kOptions[] = {
    {"stdin", no_argument, nullptr, kOptionStdin},
    {"rollback", no_argument, nullptr, kOptionRollback},
    {"none", no_argument, nullptr, kOptionNone},
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
        {"definitions", AdminCommand::kDefinitions},
        {"sources", AdminCommand::kSources},
    };
    for (const auto& known : kCommands) {
        if (known.name == name) {
            return known.command;
        }
    }
    return std::nullopt;
}

/// What was found on the command line, in the order in which it stands.
struct Found {
    AdminArguments arguments;
    std::optional<AdminCommand> command;
    bool isNone = false;
};

/// A word that is no option: the command, then the name of a list and its addresses. False for any
/// other.
bool TakeWord(Found& found, const std::string& word) {
    if (!found.command) {
        found.command = CommandOfName(word);
        return found.command.has_value();
    }
    if (found.command != AdminCommand::kSources) {
        return false;
    }
    if (found.arguments.list) {
        found.arguments.addresses.push_back(word);
        return found.arguments.addresses.size() <= kMaxAddresses;
    }
    if (word != "internet" && word != "server") {
        return false;
    }
    found.arguments.list = word == "server" ? SourceList::kServer : SourceList::kInternet;
    return true;
}

bool TakeOption(Found& found, int option) {
    switch (option) {
        case kOptionStdin:
            found.arguments.fromStandardInput = true;
            return true;
        case kOptionRollback:
            found.arguments.rollsBack = true;
            return true;
        case kOptionNone:
            found.isNone = true;
            return true;
        case kOptionHelp:
        case kOptionVersion:
            if (found.command) {
                return false;
            }
            found.command = option == kOptionHelp ? AdminCommand::kHelp : AdminCommand::kVersion;
            return true;
        default:
            return false;
    }
}

/// Whether each option belongs to the command, and a list is written with addresses or on purpose
/// without.
bool IsWhole(const Found& found) {
    const AdminArguments& arguments = found.arguments;
    return found.command &&
           (!arguments.fromStandardInput || found.command == AdminCommand::kSetPassword) &&
           (!arguments.rollsBack || found.command == AdminCommand::kDefinitions) &&
           found.isNone == (arguments.list.has_value() && arguments.addresses.empty());
}

}  // namespace

std::optional<AdminArguments> ParseAdminArguments(int argc, char** argv) {
    Found found;
    opterr = 0;  // What is not known is not repeated.
    int option = 0;
    while ((option = getopt_long(argc, argv, kWordsInOrder, kOptions, nullptr)) != -1) {
        if (!(option == kOptionWord ? TakeWord(found, optarg) : TakeOption(found, option))) {
            return std::nullopt;
        }
    }
    for (; optind < argc; ++optind) {
        if (!TakeWord(found, argv[optind])) {
            return std::nullopt;
        }
    }
    if (!IsWhole(found)) {
        return std::nullopt;
    }
    found.arguments.command = *found.command;
    return found.arguments;
}

}  // namespace dbmod
