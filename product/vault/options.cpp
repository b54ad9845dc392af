#include "product/vault/options.h"

#include <getopt.h>
#include <optional>
#include <string_view>

#include "product/vault/owner_folder.h"

namespace vault {

const char kUsage[] =
    "Usage: corvane-vault list [--json]\n"
    "       corvane-vault show ITEM...\n"
    "       corvane-vault restore [--to FOLDER] ITEM...\n"
    "       corvane-vault export ITEM FILE\n"
    "       corvane-vault empty [--yes] [ITEM...]\n"
    "       corvane-vault --help | --version\n"
    "\n"
    "Lists the files that Corvane kept before it deleted them, and brings them back.\n"
    "\n"
    "  list         every item: its name, when it was kept, owner, size, virus and path\n"
    "  show         all that is known of an item\n"
    "  restore      puts the file back where it was, or into FOLDER, and never over another\n"
    "  export       writes the contents to FILE, readable for you alone\n"
    "  empty        removes items for good; all of them without a name\n"
    "\n"
    "  --json       list a JSON object a line\n"
    "  --to FOLDER  restore into FOLDER\n"
    "  --yes        empty without a question\n";

namespace {

enum OptionCode { kTo = 256, kYes, kJson, kHelpOption, kVersionOption };

constexpr option kOptions[] = {
    {"to", required_argument, nullptr, kTo},
    {"yes", no_argument, nullptr, kYes},
    {"json", no_argument, nullptr, kJson},
    {"help", no_argument, nullptr, kHelpOption},
    {"version", no_argument, nullptr, kVersionOption},
    {nullptr, 0, nullptr, 0},
};

std::optional<Command> CommandNamed(std::string_view name) {
    constexpr std::pair<std::string_view, Command> kCommands[] = {
        {"list", Command::kList},     {"show", Command::kShow},   {"restore", Command::kRestore},
        {"export", Command::kExport}, {"empty", Command::kEmpty},
    };
    for (const auto& [known, command] : kCommands) {
        if (name == known) {
            return command;
        }
    }
    return std::nullopt;
}

// Takes the words behind the command.
bool TakeWords(std::vector<std::string> words, Options& options, std::string& problem) {
    if (options.command == Command::kExport) {
        if (words.size() != 2 || words.back().empty()) {
            problem = "export needs an item and a file";
            return false;
        }
        options.file = words.back();
        words.pop_back();
    }
    if (options.command == Command::kList && !words.empty()) {
        problem = "list takes no item";
        return false;
    }
    if (words.empty() &&
        (options.command == Command::kShow || options.command == Command::kRestore)) {
        problem = "an item is needed";
        return false;
    }
    for (const std::string& word : words) {
        if (!TimeOfItem(word)) {
            problem = "\"" + word + "\" is no name of an item";
            return false;
        }
    }
    options.items = std::move(words);
    return true;
}

}  // namespace

bool ParseOptions(std::span<char* const> arguments, Options& options, std::string& problem) {
    const auto count = static_cast<int>(arguments.size());
    std::vector<char*> list(arguments.begin(), arguments.end());
    list.push_back(nullptr);
    bool hasFolder = false;
    optind = 0;  // from the start, also when it was called before
    opterr = 0;
    int code = 0;
    while ((code = getopt_long(count, list.data(), "", kOptions, nullptr)) != -1) {
        switch (code) {
            case kTo:
                options.folder = optarg;
                hasFolder = true;
                break;
            case kYes:
                options.isSure = true;
                break;
            case kJson:
                options.asJson = true;
                break;
            case kHelpOption:
                options.command = Command::kHelp;
                return true;
            case kVersionOption:
                options.command = Command::kVersion;
                return true;
            default:
                problem = "unknown option, or one that lacks its argument";
                return false;
        }
    }
    // What is no option is at the end now.
    std::vector<std::string> words(list.begin() + optind, list.begin() + count);
    const auto command = words.empty() ? std::nullopt : CommandNamed(words.front());
    if (!command) {
        problem = words.empty() ? "a command is needed" : "\"" + words.front() + "\" is no command";
        return false;
    }
    options.command = *command;
    if ((hasFolder && (options.folder.empty() || *command != Command::kRestore)) ||
        (options.isSure && *command != Command::kEmpty) ||
        (options.asJson && *command != Command::kList)) {
        problem = "--to FOLDER is for restore, --yes for empty, --json for list";
        return false;
    }
    words.erase(words.begin());
    return TakeWords(std::move(words), options, problem);
}

}  // namespace vault
