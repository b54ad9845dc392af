#include "product/shellscan/options.h"

#include <charconv>
#include <string_view>
#include <utility>

#include "common/argument_reader.h"

namespace shellscan {

const char kUsage[] =
    "Usage: corvane-scan [OPTIONS] PATH...\n"
    "       corvane-scan [OPTIONS] --files-from FILE [PATH...]\n"
    "       corvane-scan --help | --version\n"
    "\n"
    "Scans files, and folders with all that is below them, for viruses.\n"
    "\n"
    "  --action ACTION    what to do with an infected file: report (the default), delete,\n"
    "                     repair, or repair-or-delete\n"
    "  --no-archives      do not look into archives\n"
    "  --no-packed        do not look into packed programs\n"
    "  --no-adware        do not look for adware\n"
    "  --dumb             also read files of unknown type whole\n"
    "  --exclude GLOB     leave out what GLOB matches, a name or, with a \"/\" in it, a path;\n"
    "                     may be given several times\n"
    "  --files-from FILE  scan the paths in FILE, each ended by a NUL byte; \"-\" is standard\n"
    "                     input\n"
    "\n"
    "  --format FORMAT    text (the default), or json: one object a line\n"
    "  --quiet            print nothing but why the scan could not run\n"
    "  --progress         show on a terminal how far the scan is\n"
    "  --notify           tell the desktop how the scan ended\n"
    "\n"
    "Exit status: 3 the scan could not run, else 1 something was found, else 2 not all files\n"
    "were read, else 0.\n";

namespace {

// What getopt_long gives for each option; apart from every character, which it gives for errors.
enum OptionCode {
    kAction = 256,
    kNoArchives,
    kNoPacked,
    kNoAdware,
    kDumb,
    kExclude,
    kFilesFrom,
    kFormat,
    kQuiet,
    kProgress,
    kNotify,
    kReportDescriptor,
    kResultDescriptor,
    kReportNote,
    kHelp,
    kVersion
};

constexpr option kOptions[] = {
    {"action", required_argument, nullptr, kAction},
    {"no-archives", no_argument, nullptr, kNoArchives},
    {"no-packed", no_argument, nullptr, kNoPacked},
    {"no-adware", no_argument, nullptr, kNoAdware},
    {"dumb", no_argument, nullptr, kDumb},
    {"exclude", required_argument, nullptr, kExclude},
    {"files-from", required_argument, nullptr, kFilesFrom},
    {"format", required_argument, nullptr, kFormat},
    {"quiet", no_argument, nullptr, kQuiet},
    {"progress", no_argument, nullptr, kProgress},
    {"notify", no_argument, nullptr, kNotify},
    {"report-descriptor", required_argument, nullptr, kReportDescriptor},
    {"result-descriptor", required_argument, nullptr, kResultDescriptor},
    {"report-note", required_argument, nullptr, kReportNote},
    {"help", no_argument, nullptr, kHelp},
    {"version", no_argument, nullptr, kVersion},
    {nullptr, 0, nullptr, 0},
};

bool ParseAction(std::string_view name, Options& options) {
    constexpr std::pair<std::string_view, ScanAction> kActions[] = {
        {"report", kActionReportOnly},
        {"delete", kActionDelete},
        {"repair", kActionRepairOnly},
        {"repair-or-delete", kActionRepairOrDelete},
    };
    for (const auto& [known, action] : kActions) {
        if (name == known) {
            options.settings.action = action;
            return true;
        }
    }
    return false;
}

bool ParseFormat(std::string_view name, Options& options) {
    options.format = name == "json" ? Format::kJson : Format::kText;
    return name == "json" || name == "text";
}

// Not one of the three that every program has.
bool ParseDescriptor(std::string_view text, std::optional<int>& descriptor) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    descriptor = number;
    return error == std::errc() && end == text.data() + text.size() && number > 2;
}

// An option that has a value. False with the problem.
bool ApplyValue(int code, std::string_view value, Options& options, std::string& problem) {
    bool isKnown = true;
    const char* what = "";
    switch (code) {
        case kAction:
            isKnown = ParseAction(value, options);
            what = "action";
            break;
        case kFormat:
            isKnown = ParseFormat(value, options);
            what = "format";
            break;
        case kReportDescriptor:
            isKnown = ParseDescriptor(value, options.reportDescriptor);
            what = "descriptor";
            break;
        case kResultDescriptor:
            isKnown = ParseDescriptor(value, options.resultDescriptor);
            what = "descriptor";
            break;
        case kExclude:
            options.excluded.emplace_back(value);
            break;
        case kFilesFrom:
            options.filesFrom = value;
            break;
        default:
            options.reportNote = value;
            break;
    }
    if (!isKnown) {
        problem = "no such " + std::string(what) + ": " + common::Quoted(value);
    }
    return isKnown;
}

void SetFlag(tagSCNOPTS& settings, ScanFlag flag, bool isOn) {
    settings.flags =
        static_cast<std::uint8_t>(isOn ? settings.flags | flag : settings.flags & ~flag);
}

// An option without a value.
void ApplySwitch(int code, Options& options) {
    switch (code) {
        case kNoArchives:
            SetFlag(options.settings, kScanArchives, false);
            break;
        case kNoPacked:
            SetFlag(options.settings, kScanPacked, false);
            break;
        case kNoAdware:
            SetFlag(options.settings, kScanAdware, false);
            break;
        case kDumb:
            SetFlag(options.settings, kScanDumb, true);
            break;
        case kQuiet:
            options.isQuiet = true;
            break;
        case kProgress:
            options.showsProgress = true;
            break;
        case kNotify:
            options.notifies = true;
            break;
        case kHelp:
            options.command = Command::kHelp;
            break;
        default:
            options.command = Command::kVersion;
            break;
    }
}

}  // namespace

bool ParseOptions(std::span<char* const> arguments, Options& options, std::string& problem) {
    options = {};
    problem.clear();
    common::ArgumentReader reader(arguments, kOptions, common::ArgumentReader::Order::kAnywhere);
    for (int code = reader.Next(); code != -1; code = reader.Next()) {
        if (code == '?' || code == ':') {
            problem = reader.Problem(code);
            return false;
        }
        if (::optarg == nullptr) {
            ApplySwitch(code, options);
        } else if (!ApplyValue(code, ::optarg, options, problem)) {
            return false;
        }
        if (options.command != Command::kScan) {
            return true;
        }
    }
    const auto rest = reader.Rest();
    options.paths.assign(rest.begin(), rest.end());
    if (options.paths.empty() && !options.filesFrom) {
        problem = "nothing to scan: give at least one PATH";
    } else if (options.reportDescriptor && options.reportDescriptor == options.resultDescriptor) {
        problem = "report and result cannot go to one descriptor";
    }
    return problem.empty();
}

}  // namespace shellscan
