#include "product/mirror/options.h"

#include <charconv>
#include <getopt.h>
#include <string_view>

const char kMirrorUsage[] =
    "Usage: corvane-mirror [--from DIR]... [--key FILE] [--days N] MIRROR\n"
    "       corvane-mirror --signed MIRROR\n"
    "       corvane-mirror --help | --version\n"
    "\n"
    "Makes or renews a mirror of virus databases in the folder MIRROR, to be served by any\n"
    "web server.\n"
    "\n"
    "  --from DIR   take the databases in DIR, instead of those that this machine uses; may\n"
    "               be given several times, and the first that has a database wins\n"
    "  --key FILE   sign with the secret key in FILE, made by \"minisign -G -W\"\n"
    "  --signed     publish what was made without a key and is signed by now\n"
    "  --days N     the index expires after N days, 1 to 365; 14 unless given\n";

namespace {

enum OptionCode { kFrom = 256, kKey, kSigned, kDays, kHelp, kVersion };

constexpr option kOptions[] = {
    {"from", required_argument, nullptr, kFrom},
    {"key", required_argument, nullptr, kKey},
    {"days", required_argument, nullptr, kDays},
    {"help", no_argument, nullptr, kHelp},
    {"version", no_argument, nullptr, kVersion},
    {"signed", no_argument, nullptr, kSigned},
    {nullptr, 0, nullptr, 0},
};

bool ParseDays(std::string_view text, std::optional<unsigned int>& given) {
    constexpr unsigned int kMost = 365;
    unsigned int& days = given.emplace();
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), days);
    return error == std::errc() && end == text.data() + text.size() && days >= 1 && days <= kMost;
}

}  // namespace

bool ParseMirrorOptions(std::span<char* const> arguments, MirrorOptions& options,
                        std::string& problem) {
    const auto count = static_cast<int>(arguments.size());
    std::vector<char*> list(arguments.begin(), arguments.end());
    list.push_back(nullptr);
    optind = 0;  // from the start, also when it was called before
    opterr = 0;
    int code = 0;
    while ((code = getopt_long(count, list.data(), "", kOptions, nullptr)) != -1) {
        switch (code) {
            case kFrom:
                options.from.emplace_back(optarg);
                break;
            case kKey:
                options.key = optarg;
                break;
            case kSigned:
                options.isSigned = true;
                break;
            case kDays:
                if (!ParseDays(optarg, options.days)) {
                    problem = "--days needs a number from 1 to 365";
                    return false;
                }
                break;
            case kHelp:
                options.command = MirrorCommand::kHelp;
                return true;
            case kVersion:
                options.command = MirrorCommand::kVersion;
                return true;
            default:
                problem = "unknown option, or one that lacks its argument";
                return false;
        }
    }
    if (optind != count - 1 || *list[static_cast<std::size_t>(optind)] == '\0') {
        problem = "one folder for the mirror is needed";
        return false;
    }
    if (options.isSigned && (!options.from.empty() || !options.key.empty() || options.days)) {
        problem = "--signed publishes what was made before, without --from, --key and --days";
        return false;
    }
    options.folder = list[static_cast<std::size_t>(optind)];
    return true;
}
