#include "product/virlog/options.h"

#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

#include "common/argument_reader.h"

const char kUsage[] =
    "Usage: corvane-virlog [--format table|csv|json] [--since DATE] [--until DATE]\n"
    "                      [--text TEXT]...\n"
    "       corvane-virlog --keep N\n"
    "       corvane-virlog --unlock\n"
    "       corvane-virlog --help | --version\n"
    "\n"
    "Lists the virus log of Corvane Endpoint Protection, oldest record first.\n"
    "\n"
    "  --format FORMAT  table (the default), csv or json\n"
    "  --since DATE     records from DATE on\n"
    "  --until DATE     records up to DATE, the day or the minute it names included\n"
    "  --text TEXT      records with TEXT in their virus name, action, user, path or\n"
    "                   domain, in capitals or not; may be given several times\n"
    "  --keep N         remove all records but the newest N; 0 clears the log\n"
    "  --unlock         remove locks of the log that a dead process has left behind;\n"
    "                   asks before it does\n"
    "\n"
    "DATE is local time: YYYY-MM-DD or \"YYYY-MM-DD HH:MM[:SS]\".\n";

namespace {

using common::ArgumentReader;
using common::Quoted;

// What getopt_long gives for each option; apart from every character, which it gives for errors.
enum OptionCode { kFormat = 256, kSince, kUntil, kText, kKeep, kUnlock, kHelp, kVersion };

constexpr option kOptions[] = {
    {"format", required_argument, nullptr, kFormat},
    {"since", required_argument, nullptr, kSince},
    {"until", required_argument, nullptr, kUntil},
    {"text", required_argument, nullptr, kText},
    {"keep", required_argument, nullptr, kKeep},
    {"unlock", no_argument, nullptr, kUnlock},
    {"help", no_argument, nullptr, kHelp},
    {"version", no_argument, nullptr, kVersion},
    {nullptr, 0, nullptr, 0},
};

bool ParseNumber(std::string_view text, std::uint32_t& number) {
    const char* const end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && parsed == end && !text.empty();
}

// An option that has a value. False with the problem.
bool Apply(int code, std::string_view value, Options& options, std::string& problem) {
    if (code == kFormat) {
        const std::optional<Format> format = FormatOfName(value);
        options.format = format.value_or(Format::kTable);
        problem = format ? "" : "no such format: " + Quoted(value);
    } else if (code == kText) {
        options.filter.texts.emplace_back(value);
    } else if (code == kKeep) {
        problem = ParseNumber(value, options.keep) ? "" : "no such number: " + Quoted(value);
    } else {
        const std::optional<TimeBound> bound = ParseTimeBound(value);
        (code == kSince ? options.filter.since : options.filter.until) = bound;
        problem = bound ? "" : "no such date: " + Quoted(value);
    }
    return problem.empty();
}

// The command that an option stands for; listing records is that of all others.
Command CommandOf(int code) {
    switch (code) {
        case kKeep:
            return Command::kKeep;
        case kUnlock:
            return Command::kUnlock;
        case kHelp:
            return Command::kHelp;
        case kVersion:
            return Command::kVersion;
        default:
            return Command::kList;
    }
}

}  // namespace

bool ParseOptions(std::span<char* const> arguments, Options& options, std::string& problem) {
    options = {};
    problem.clear();
    std::vector<int> alone;  // options that stand alone
    bool asksForRecords = false;
    ArgumentReader reader(arguments, kOptions, ArgumentReader::Order::kAsGiven);
    for (int code = reader.Next(); code != -1; code = reader.Next()) {
        if (code == '?' || code == ':') {
            problem = reader.Problem(code);
            return false;
        }
        if (::optarg != nullptr && !Apply(code, ::optarg, options, problem)) {
            return false;
        }
        const Command command = CommandOf(code);
        if (command == Command::kHelp || command == Command::kVersion) {
            options.command = command;
            return true;
        }
        if (command == Command::kList) {
            asksForRecords = true;
        } else {
            alone.push_back(code);
            options.command = command;
        }
    }
    if (const auto rest = reader.Rest(); !rest.empty()) {
        problem = "unexpected argument: " + Quoted(rest.front());
        return false;
    }
    for (const int code : alone) {
        if (asksForRecords || code != alone.back()) {
            problem = reader.NameOf(code) + " stands alone";
            return false;
        }
    }
    return true;
}
