// corvane-rapidupdate: the automatic updates. It decides when, and has the update service do it.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <span>
#include <syslog.h>

#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "product/rapidupdate/machine.h"
#include "product/rapidupdate/options.h"

namespace {

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

int Run(const rapidupdate::Options& options) {
    const rapidupdate::Alarm alarm;
    if (!alarm.IsReady()) {
        ::syslog(LOG_ERR, "no timer: %s", std::strerror(errno));
        return kExitFailed;
    }
    rapidupdate::Machine machine(alarm);
    if (options.isOnce) {
        return machine.Update() == rapidupdate::Outcome::kDone ? kExitOk : kExitFailed;
    }
    const rapidupdate::Seconds now = machine.Now();
    rapidupdate::RunService(machine, options.firstRun
                                         ? now + *options.firstRun
                                         : rapidupdate::FirstRun(now, machine.Random()));
    return kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = rapidupdate::ParseOptions(
        std::span<const char* const>(argv, static_cast<std::size_t>(argc)).subspan(1));
    if (!options) {
        std::fputs(rapidupdate::kUsage, stderr);
        return kExitUsage;
    }
    if (options->isHelp || options->isVersion) {
        std::fputs(
            options->isHelp ? rapidupdate::kUsage : "corvane-rapidupdate " CORVANE_VERSION "\n",
            stdout);
        return kExitOk;
    }
    // A file-size limit is answered like a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    ::openlog("rapidupdate", LOG_PID | (options->isLogOnScreen ? LOG_PERROR : 0), LOG_DAEMON);
    common::CopyToField(g_szAppPath, kProductDirectory);
    return Run(*options);
}
