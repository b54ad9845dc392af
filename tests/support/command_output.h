#pragma once

#include <array>
#include <cstdio>
#include <memory>
#include <string>

/// What a shell command writes to its standard output.
inline std::string OutputOf(const std::string& command) {
    struct Closer {
        void operator()(std::FILE* pipe) const { (void)::pclose(pipe); }
    };
    const std::unique_ptr<std::FILE, Closer> pipe(::popen(command.c_str(), "re"));
    std::string output;
    std::array<char, 4096> buffer{};
    while (pipe != nullptr && std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) {
        output += buffer.data();
    }
    return output;
}
