#include "product/virlog/options.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

#include "product/virlog/escape.h"

const char kUsage[] =
    "Usage: corvane-virlog [--format table|csv|json] [--since DATE] [--until DATE]\n"
    "                      [--text TEXT]...\n"
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
    "  --unlock         remove locks of the log that a dead process has left behind;\n"
    "                   asks before it does\n"
    "\n"
    "DATE is local time: YYYY-MM-DD or \"YYYY-MM-DD HH:MM[:SS]\".\n";

namespace {

std::string Quoted(std::string_view text) {
    return "\"" + Escaped(text) + "\"";
}

// Walks along the arguments; an option's value is the next one or stands behind its "=".
class ArgumentReader {
public:
    explicit ArgumentReader(std::span<char* const> arguments) : m_rest(arguments) {}

    // Moves on to the next option. False at the end.
    bool Next() {
        if (m_rest.empty()) {
            return false;
        }
        const std::string_view argument = Take();
        const std::size_t equals = argument.starts_with("--") ? argument.find('=') : argument.npos;
        m_name = argument.substr(0, equals);
        m_value.reset();
        if (equals != argument.npos) {
            m_value = argument.substr(equals + 1);
        }
        return true;
    }

    [[nodiscard]] std::string_view Name() const { return m_name; }
    [[nodiscard]] bool HasOwnValue() const { return m_value.has_value(); }

    // The option's value; none when the arguments are at their end.
    std::optional<std::string_view> Value() {
        if (!m_value && !m_rest.empty()) {
            m_value = Take();
        }
        return m_value;
    }

private:
    std::string_view Take() {
        const std::string_view argument = m_rest.front();
        m_rest = m_rest.subspan(1);
        return argument;
    }

    std::span<char* const> m_rest;
    std::string_view m_name;
    std::optional<std::string_view> m_value;
};

std::optional<Command> CommandOfName(std::string_view name) {
    if (name == "--help") {
        return Command::kHelp;
    }
    if (name == "--version") {
        return Command::kVersion;
    }
    return name == "--unlock" ? std::optional(Command::kUnlock) : std::nullopt;
}

// An option that has a value. False with the problem.
bool Apply(std::string_view name, std::string_view value, Options& options, std::string& problem) {
    if (name == "--format") {
        const std::optional<Format> format = FormatOfName(value);
        options.format = format.value_or(Format::kTable);
        problem = format ? "" : "no such format: " + Quoted(value);
    } else if (name == "--text") {
        options.filter.texts.emplace_back(value);
    } else {
        const std::optional<TimeBound> bound = ParseTimeBound(value);
        (name == "--since" ? options.filter.since : options.filter.until) = bound;
        problem = bound ? "" : "no such date: " + Quoted(value);
    }
    return problem.empty();
}

}  // namespace

bool ParseOptions(std::span<char* const> arguments, Options& options, std::string& problem) {
    constexpr std::string_view kWithValue[] = {"--format", "--since", "--until", "--text"};
    options = {};
    problem.clear();
    bool asksForRecords = false;
    ArgumentReader reader(arguments);
    while (reader.Next()) {
        const std::string_view name = reader.Name();
        if (const std::optional<Command> command = CommandOfName(name)) {
            if (reader.HasOwnValue()) {
                problem = std::string(name) + " takes no value";
                return false;
            }
            options.command = *command;
            if (*command != Command::kUnlock) {
                return true;
            }
        } else if (std::find(std::begin(kWithValue), std::end(kWithValue), name) ==
                   std::end(kWithValue)) {
            problem = (name.starts_with('-') ? "unknown option: " : "unexpected argument: ") +
                      Quoted(name);
            return false;
        } else {
            const std::optional<std::string_view> value = reader.Value();
            if (!value) {
                problem = std::string(name) + " needs a value";
                return false;
            }
            if (!Apply(name, *value, options, problem)) {
                return false;
            }
            asksForRecords = true;
        }
    }
    if (options.command == Command::kUnlock && asksForRecords) {
        problem = "--unlock stands alone";
        return false;
    }
    return true;
}
