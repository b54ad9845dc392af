#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

/// What a program makes of its command line.
template <typename Options>
struct ParsedOptions {
    bool isGood = false;
    Options options;
    std::string problem;
};

/// By the ParseOptions() that belongs to these options. `arguments` are what stands behind the name
/// of `program`.
template <typename Options>
ParsedOptions<Options> ParseArguments(std::string program, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), std::move(program));
    std::vector<char*> pointers;
    pointers.reserve(arguments.size());
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    ParsedOptions<Options> parsed;
    parsed.isGood = ParseOptions(pointers, parsed.options, parsed.problem);
    return parsed;
}
