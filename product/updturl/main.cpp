// corvane-update: downloads and installs virus definitions, for whoever asks on its standard input.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

#include "product/updturl/asker.h"
#include "product/updturl/fetch_work.h"
#include "product/updturl/update_run.h"

namespace updturl {
namespace {

constexpr int kExitUsage = 2;
constexpr char kThisProgram[] = "/proc/self/exe";

constexpr char kUsage[] =
    "Usage: corvane-update [--fetch | --test]\n"
    "       corvane-update --help | --version\n"
    "\n"
    "Downloads and installs virus definitions for Corvane Endpoint Protection. What\n"
    "is to be done stands on standard input, what happens goes to standard output;\n"
    "corvane-update(8) tells how. Updates are asked for in the program's window.\n"
    "\n"
    "  --fetch    only download and verify\n"
    "  --test     only say whether the update servers can be reached\n"
    "  --help     show this text\n"
    "  --version  show the version\n";

enum class Mode { kRun, kFetch, kTest, kHelp, kVersion, kMistake };

Mode ModeOf(int count, char** arguments) {
    enum Option { kFetch = 1, kTest, kHelp, kVersion };
    static constexpr option kOptions[] = {{"fetch", no_argument, nullptr, kFetch},
                                          {"test", no_argument, nullptr, kTest},
                                          {"help", no_argument, nullptr, kHelp},
                                          {"version", no_argument, nullptr, kVersion},
                                          {nullptr, 0, nullptr, 0}};
    Mode mode = Mode::kRun;
    for (int option = 0; (option = ::getopt_long(count, arguments, "", kOptions, nullptr)) != -1;) {
        switch (option) {
            case kFetch:
                mode = Mode::kFetch;
                break;
            case kTest:
                mode = Mode::kTest;
                break;
            case kHelp:
                return Mode::kHelp;
            case kVersion:
                return Mode::kVersion;
            default:
                return Mode::kMistake;
        }
    }
    return optind == count ? mode : Mode::kMistake;
}

/// Who started this decides nothing but what stands in the request: no proxy, no other place for
/// configurations or temporary files, no folder that stays in use.
void ForgetSurroundings() {
    ::clearenv();
    ::setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    ::umask(022);
    (void)::chdir("/");
    (void)std::signal(SIGPIPE, SIG_IGN);
}

int Work(Mode mode) {
    ForgetSurroundings();
    Asker asker(STDIN_FILENO, STDOUT_FILENO);
    switch (mode) {
        case Mode::kFetch:
            return RunFetch(asker);
        case Mode::kTest:
            return RunTest(asker);
        default:
            return RunUpdate(asker, kThisProgram);
    }
}

int Main(int count, char** arguments) {
    const Mode mode = ModeOf(count, arguments);
    switch (mode) {
        case Mode::kHelp:
            std::fputs(kUsage, stdout);
            return 0;
        case Mode::kVersion:
            std::puts("corvane-update " CORVANE_VERSION);
            return 0;
        case Mode::kMistake:
            std::fputs(kUsage, stderr);
            return kExitUsage;
        default:
            return Work(mode);
    }
}

}  // namespace
}  // namespace updturl

int main(int count, char** arguments) {
    try {
        return updturl::Main(count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "corvane-update: %s\n", error.what());
        return 1;
    }
}
