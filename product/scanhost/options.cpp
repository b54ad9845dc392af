#include "product/scanhost/options.h"

#include <getopt.h>
#include <vector>

namespace scanhost {

const char kUsage[] =
    "Usage: corvane-scanhost --check\n"
    "       corvane-scanhost --help | --version\n"
    "\n"
    "Scans files for Corvane's scan engine, which starts it; it is of no use by itself.\n"
    "\n"
    "  --check      show what keeps scans from doing anything else, on this machine\n"
    "  --help       show this text\n"
    "  --version    show the version\n";

namespace {

enum OptionCode { kCheckOption = 256, kHelpOption, kVersionOption };

constexpr option kOptions[] = {
    {"check", no_argument, nullptr, kCheckOption},
    {"help", no_argument, nullptr, kHelpOption},
    {"version", no_argument, nullptr, kVersionOption},
    {nullptr, 0, nullptr, 0},
};

}  // namespace

bool ParseOptions(std::span<char* const> arguments, Command& command, std::string& problem) {
    const auto count = static_cast<int>(arguments.size());
    std::vector<char*> list(arguments.begin(), arguments.end());
    list.push_back(nullptr);
    command = Command::kServe;
    optind = 0;  // from the start, also when it was called before
    opterr = 0;
    switch (getopt_long(count, list.data(), "", kOptions, nullptr)) {
        case -1:
            break;
        case kCheckOption:
            command = Command::kCheck;
            break;
        case kHelpOption:
            command = Command::kHelp;
            break;
        case kVersionOption:
            command = Command::kVersion;
            break;
        default:
            problem = "unknown option";
            return false;
    }
    if (optind < count) {
        problem = "one option at most, and nothing else";
        return false;
    }
    return true;
}

}  // namespace scanhost
