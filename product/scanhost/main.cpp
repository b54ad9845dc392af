// corvane-scanhost: loads the virus databases for the scan engine and scans in processes that can
// do nothing else.

#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <span>
#include <string>
#include <unistd.h>

#include "product/scanhost/confinement_check.h"
#include "product/scanhost/host.h"
#include "product/scanhost/options.h"
#include "product/scanwire/host_messages.h"

namespace {

using scanhost::Command;

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

int Print(const std::string& text) {
    return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0 ? kExitOk
                                                                             : kExitFailed;
}

int Refuse(const std::string& problem) {
    std::fprintf(stderr, "corvane-scanhost: %s\n%s", problem.c_str(), scanhost::kUsage);
    return kExitUsage;
}

// What is opened next must not pass for one of them.
void FillStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) < 0) {
            (void)!::open("/dev/null", O_RDWR);
        }
    }
}

int Run(std::span<char* const> arguments) {
    Command command = Command::kServe;
    std::string problem;
    if (!scanhost::ParseOptions(arguments, command, problem)) {
        return Refuse(problem);
    }
    switch (command) {
        case Command::kHelp:
            return Print(scanhost::kUsage);
        case Command::kVersion:
            return Print("corvane-scanhost " CORVANE_VERSION "\n");
        case Command::kCheck:
            return Print(scanhost::CheckReport());
        case Command::kServe:
            break;
    }
    if (!scanhost::IsControlSocket(scanwire::kControlDescriptor)) {
        return Refuse("there is no control socket: the scan engine starts this program");
    }
    FillStandardStreams();
    return scanhost::Serve(scanwire::kControlDescriptor);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(std::span(argv, static_cast<std::size_t>(argc)));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "corvane-scanhost: %s\n", error.what());
        return kExitFailed;
    }
}
