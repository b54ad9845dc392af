#include "tests/support/recorded_calls.h"

#include <cstdlib>
#include <fstream>
#include <string_view>

namespace {

constexpr std::string_view kEscape = "\\x";
constexpr std::size_t kEscapedSize = 4;

// "\x2f\x74" and its quotation marks, at the beginning of `line`, which goes on behind them.
bool ReadText(std::string_view& line, std::string& text) {
    line.remove_prefix(1);
    while (line.starts_with(kEscape) && line.size() > kEscapedSize) {
        const std::string digits(line.substr(kEscape.size(), 2));
        text += static_cast<char>(std::strtoul(digits.c_str(), nullptr, 16));
        line.remove_prefix(kEscapedSize);
    }
    const bool isWhole = line.starts_with('"') && !line.starts_with("\"...");
    line.remove_prefix(isWhole ? 1 : 0);
    return isWhole;
}

// What stands between "(" and ")".
bool ReadArguments(std::string_view& line, std::vector<std::string>& arguments) {
    while (!line.empty() && line.front() != ')') {
        std::string argument;
        if (line.front() == '"') {
            if (!ReadText(line, argument)) {
                return false;
            }
        } else {
            const std::size_t end = line.find_first_of(",)");
            argument = line.substr(0, end);
            line.remove_prefix(std::min(end, line.size()));
        }
        arguments.push_back(argument);
        if (line.starts_with(", ")) {
            line.remove_prefix(2);
        }
    }
    return !line.empty();
}

std::optional<RecordedCall> ReadCall(std::string_view line) {
    RecordedCall call;
    const std::size_t open = line.find('(');
    call.name = line.substr(0, open);
    line.remove_prefix(open + 1);
    const bool isRead = ReadArguments(line, call.arguments);
    const std::size_t equals = line.find("= ");
    if (!isRead || equals == std::string_view::npos) {
        return std::nullopt;
    }
    call.result = std::strtol(std::string(line.substr(equals + 2)).c_str(), nullptr, 10);
    return call;
}

}  // namespace

int RecordedCall::Descriptor(std::size_t argument) const {
    const bool isNumber = argument < arguments.size() && arguments[argument] != "AT_FDCWD";
    return isNumber ? std::atoi(arguments[argument].c_str()) : -1;
}

unsigned int RecordedCall::Mode(std::size_t argument) const {
    return argument < arguments.size()
               ? static_cast<unsigned int>(std::strtoul(arguments[argument].c_str(), nullptr, 8))
               : 0;
}

bool RecordedCall::Has(std::size_t argument, const char* flag) const {
    return argument < arguments.size() && arguments[argument].find(flag) != std::string::npos;
}

std::vector<std::string> RecordingOptions(const std::string& path) {
    constexpr char kCalls[] =
        "open,openat,creat,close,dup,dup2,dup3,fcntl,write,pwrite64,writev,pwritev,sendfile,"
        "copy_file_range,ftruncate,truncate,fallocate,fsync,fdatasync,syncfs,sync,chmod,fchmod,"
        "fchmodat,mkdir,mkdirat,rmdir,link,linkat,unlink,unlinkat,rename,renameat,renameat2,"
        "symlink,symlinkat";
    return {"-xx", "-s", "16777216", "-o", path, "-e", std::string("trace=") + kCalls};
}

std::optional<std::vector<RecordedCall>> ReadRecording(const std::string& path) {
    std::vector<RecordedCall> calls;
    std::ifstream trace(path);
    for (std::string line; std::getline(trace, line);) {
        if (line.starts_with("---") || line.starts_with("+++")) {
            continue;  // a signal, or the end
        }
        const auto call = ReadCall(line);
        if (!call) {
            return std::nullopt;
        }
        calls.push_back(*call);
    }
    return calls;
}
