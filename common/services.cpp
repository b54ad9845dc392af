#include "common/services.h"

#include <cstdlib>

#include "common/paths.h"

namespace {

constexpr std::string_view kScriptDirectories[] = {"/etc/init.d/rc.d/", "/etc/init.d/"};

// One word to the shell, whatever characters are in it.
std::string Quoted(std::string_view text) {
    std::string quoted = "'";
    for (const char character : text) {
        if (character == '\'') {
            quoted += "'\\''";
        } else {
            quoted += character;
        }
    }
    return quoted + "'";
}

std::string_view WordOf(int operation) {
    switch (operation) {
        case kServiceStart:
            return "start";
        case kServiceRestart:
            return "restart";
        case kServiceStop:
            return "stop";
        case kServiceStatus:
            return "status";
        default:
            return {};
    }
}

}  // namespace

std::string common::ServiceScript(std::string_view name) {
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string_view::npos) {
        return {};  // it would lead elsewhere
    }
    for (const std::string_view directory : kScriptDirectories) {
        std::string path = std::string(directory).append(name);
        if (IsValidPath(path.c_str()) != 0) {
            return path;
        }
    }
    return {};
}

int HandleService(const char* name, int operation, unsigned int* error) {
    if (name == nullptr || error == nullptr) {
        return 0;
    }
    const std::string script = common::ServiceScript(name);
    if (script.empty()) {
        *error = kServiceMissing;
        return 0;
    }
    const std::string_view word = WordOf(operation);
    if (word.empty()) {
        *error = kServiceUnknownOperation;
        return 0;
    }
    *error = 0;
    const std::string command = Quoted(script).append(" ").append(word).append(" >/dev/null");
    // The exit status says nothing that all the scripts agree on.
    (void)std::system(command.c_str());
    return 1;
}
