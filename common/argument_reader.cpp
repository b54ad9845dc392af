#include "common/argument_reader.h"

#include <string_view>

#include "common/escaped_text.h"

namespace common {

std::string Quoted(std::string_view text) {
    return "\"" + Escaped(text) + "\"";
}

ArgumentReader::ArgumentReader(std::span<char* const> arguments, std::span<const option> options,
                               Order order)
    : m_arguments(arguments.begin(), arguments.end()), m_options(options), m_order(order) {
    m_arguments.push_back(nullptr);
    ::optind = 0;  // has the C library forget what it read before
    ::opterr = 0;
}

int ArgumentReader::Next() {
    m_at = ::optind == 0 ? 1 : ::optind;
    // "+": arguments are taken in order; ":": a missing value is told apart.
    return ::getopt_long(static_cast<int>(m_arguments.size()) - 1, m_arguments.data(),
                         m_order == Order::kAsGiven ? "+:" : ":", m_options.data(), nullptr);
}

std::string ArgumentReader::Problem(int code) const {
    const std::string name = NameOf(::optopt);
    if (!name.empty()) {
        return name + (code == ':' ? " needs a value" : " takes no value");
    }
    if (m_order == Order::kAsGiven) {
        return ProblemOfName(m_arguments[static_cast<std::size_t>(m_at)]);
    }
    // What is no option may have been passed over before this one.
    if (::optopt != 0) {
        return "unknown option: " + Quoted(std::string("-") + static_cast<char>(::optopt));
    }
    return ProblemOfName(m_arguments[static_cast<std::size_t>(::optind) - 1]);
}

std::string ArgumentReader::NameOf(int code) const {
    for (const option& candidate : m_options) {
        if (candidate.name != nullptr && candidate.val == code) {
            return std::string("--") + candidate.name;
        }
    }
    return {};
}

std::span<char* const> ArgumentReader::Rest() const {
    const std::span<char* const> all(m_arguments.data(), m_arguments.size() - 1);
    return all.empty() ? all : all.subspan(static_cast<std::size_t>(::optind));
}

// What is wrong with an argument that is no option of ours, or that of several.
std::string ArgumentReader::ProblemOfName(std::string_view argument) const {
    const std::string_view given = argument.substr(0, argument.find('='));
    if (given.starts_with("--") && given.size() > 2) {
        const std::vector<std::string> names = NamesFrom(given.substr(2));
        if (names.size() > 1) {
            std::string problem = "ambiguous option: " + Quoted(given) + " may be ";
            for (std::size_t i = 0; i < names.size(); ++i) {
                problem += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
            }
            return problem;
        }
    }
    return "unknown option: " + Quoted(given);
}

// The options whose names begin with `start`, which is not empty.
std::vector<std::string> ArgumentReader::NamesFrom(std::string_view start) const {
    std::vector<std::string> names;
    for (const option& candidate : m_options) {
        if (candidate.name != nullptr && std::string_view(candidate.name).starts_with(start)) {
            names.push_back(std::string("--") + candidate.name);
        }
    }
    return names;
}

}  // namespace common
