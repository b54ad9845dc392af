// corvane-update: downloads and installs virus definitions, for whoever asks on its standard input.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <getopt.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "abi/updturl.h"
#include "product/updturl/account.h"
#include "product/updturl/asker.h"
#include "product/updturl/fetch_stage.h"
#include "product/updturl/fetch_work.h"
#include "product/updturl/update_run.h"

namespace updturl {
namespace {

constexpr int kExitUsage = 2;
constexpr char kThisProgram[] = "/proc/self/exe";

constexpr char kUsage[] =
    "Usage: corvane-update [--fetch | --test] [--as-caller]\n"
    "       corvane-update --help | --version\n"
    "\n"
    "Downloads and installs virus definitions for Corvane Endpoint Protection. What\n"
    "is to be done stands on standard input, what happens goes to standard output;\n"
    "corvane-update(8) tells how. Updates are asked for in the program's window.\n"
    "\n"
    "  --fetch    only download and verify\n"
    "  --test     only say whether the update servers can be reached\n"
    "  --as-caller\n"
    "             let root keep its rights; never for what comes over a network\n"
    "  --help     show this text\n"
    "  --version  show the version\n";

enum class Mode { kRun, kFetch, kTest, kHelp, kVersion, kMistake };

struct Wish {
    Mode mode = Mode::kRun;
    bool isAsCaller = false;
};

Wish WishOf(int count, char** arguments) {
    enum Option { kFetch = 1, kTest, kAsCaller, kHelp, kVersion };
    static constexpr option kOptions[] = {
        {"fetch", no_argument, nullptr, kFetch},        {"test", no_argument, nullptr, kTest},
        {"as-caller", no_argument, nullptr, kAsCaller}, {"help", no_argument, nullptr, kHelp},
        {"version", no_argument, nullptr, kVersion},    {nullptr, 0, nullptr, 0}};
    Wish wish;
    for (int option = 0; (option = ::getopt_long(count, arguments, "", kOptions, nullptr)) != -1;) {
        switch (option) {
            case kFetch:
                wish.mode = Mode::kFetch;
                break;
            case kTest:
                wish.mode = Mode::kTest;
                break;
            case kAsCaller:
                wish.isAsCaller = true;
                break;
            case kHelp:
                return {.mode = Mode::kHelp};
            case kVersion:
                return {.mode = Mode::kVersion};
            default:
                return {.mode = Mode::kMistake};
        }
    }
    return optind == count ? wish : Wish{.mode = Mode::kMistake};
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

int Refuse(Mode mode, Asker& asker, const std::string& why) {
    if (mode == Mode::kTest) {
        RefuseTest(asker, why);
    } else {
        asker.Log(why);
        asker.Result(kUpdaterFailed);
    }
    return 1;
}

/// As `accounts`, or with none as who we are.
int Work(Mode mode, Asker& asker, const std::optional<Accounts>& accounts) {
    // Whoever installs stays root until the stage that downloads has been started as another.
    if (mode != Mode::kRun && accounts && !Become(accounts->downloader)) {
        return Refuse(mode, asker, "the rights of root cannot be given up");
    }
    switch (mode) {
        case Mode::kFetch:
            return RunFetch(asker);
        case Mode::kTest:
            return RunTest(asker);
        default:
            return RunUpdate(asker, kThisProgram,
                             accounts ? std::optional(accounts->installer) : std::nullopt);
    }
}

int Work(const Wish& wish) {
    ForgetSurroundings();
    Asker asker(STDIN_FILENO, STDOUT_FILENO);
    std::optional<Accounts> accounts;
    if (::geteuid() == 0 && !wish.isAsCaller) {
        std::string why;
        accounts = AccountsOfUpdate(why);
        if (!accounts) {
            return Refuse(wish.mode, asker, "root does not update by itself: " + why);
        }
    }
    return Work(wish.mode, asker, accounts);
}

int Main(int count, char** arguments) {
    const Wish wish = WishOf(count, arguments);
    switch (wish.mode) {
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
            return Work(wish);
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
