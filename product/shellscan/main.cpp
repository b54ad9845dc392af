// corvane-scan: scans files and folders without a window.

#include <csignal>
#include <exception>
#include <fcntl.h>
#include <span>
#include <string>
#include <unistd.h>

#include "common/io.h"
#include "product/shellscan/options.h"
#include "product/shellscan/say.h"
#include "product/shellscan/scan_program.h"

namespace {

using namespace shellscan;

// What the program opens must not become one of the three standard descriptors, into which others
// write. What is missing is there then, and fails as it should.
void FillStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (::fcntl(fd, F_GETFD) < 0) {
            (void)::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

int Print(std::string_view text) {
    if (common::WriteAll(STDOUT_FILENO, text)) {
        return kExitClean;
    }
    Say("the output could not be written");
    return kExitFailed;
}

int Run(std::span<char* const> arguments) {
    Options options;
    std::string problem;
    if (!ParseOptions(arguments, options, problem)) {
        Say(problem);
        (void)common::WriteAll(STDERR_FILENO, std::string_view("Try \"corvane-scan --help\".\n"));
        return kExitFailed;
    }
    switch (options.command) {
        case Command::kHelp:
            return Print(kUsage);
        case Command::kVersion:
            return Print("corvane-scan " CORVANE_VERSION "\n");
        case Command::kScan:
            break;
    }
    return ScanProgram(options);
}

}  // namespace

int main(int argc, char** argv) {
    // A closed pipe and a file-size limit are answered like any other failure to write.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    FillStandardDescriptors();
    try {
        return Run({argv, static_cast<std::size_t>(argc)});
    } catch (const std::exception& error) {
        Say(error.what());
        return kExitFailed;
    }
}
