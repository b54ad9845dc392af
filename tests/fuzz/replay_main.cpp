// Runs a harness over stored inputs, without a fuzzer: over its seeds in every test run, and over a
// crashing input under a debugger.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/fuzz/fuzz.h"
#include "tests/support/scratch.h"

namespace {

// The files of the folders and the files named, in one order on every machine.
std::vector<std::filesystem::path> InputsOf(const std::vector<std::string>& arguments) {
    std::vector<std::filesystem::path> inputs;
    for (const std::string& argument : arguments) {
        if (!std::filesystem::is_directory(argument)) {
            inputs.emplace_back(argument);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argument)) {
            inputs.push_back(entry.path());
        }
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

}  // namespace

int main(int argc, char** argv) {
    const auto inputs = InputsOf({argv + 1, argv + argc});
    if (inputs.empty()) {
        std::fprintf(stderr, "usage: %s FILE|FOLDER...\nno input found\n", argv[0]);
        return 2;
    }
    for (const auto& input : inputs) {
        if (!std::filesystem::is_regular_file(input)) {
            std::fprintf(stderr, "%s: no such file\n", input.c_str());
            return 2;
        }
        // Before the run, so that the last line names the input that ended it.
        std::printf("%s\n", input.c_str());
        (void)std::fflush(stdout);
        const std::string bytes = ReadFile(input.string());
        const std::vector<std::uint8_t> copy(bytes.begin(), bytes.end());
        LLVMFuzzerTestOneInput(copy.data(), copy.size());
    }
    std::printf("%zu inputs\n", inputs.size());
    return 0;
}
