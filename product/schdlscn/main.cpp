// corvane-scheduler: keeps the list of scheduled scans for everybody, and has each scan run at its
// time, as its owner.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <syslog.h>

#include "common/paths.h"
#include "product/schdlscn/ask_service.h"
#include "product/schdlscn/machine_clock.h"
#include "product/schdlscn/scan_launcher.h"
#include "product/serving/end_watch.h"
#include "product/serving/listening.h"

namespace {

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

constexpr char kProgramName[] = "corvane-scan";
constexpr char kReports[] = "reports/";
constexpr char kNotifierName[] = "corvane-notify";

}  // namespace

int main(int argc, char**) {
    if (argc != 1) {
        std::fputs("Usage: corvane-scheduler\n", stderr);
        return kExitUsage;
    }
    std::signal(SIGPIPE, SIG_IGN);
    ::umask(022);
    ::openlog("corvane-scheduler", LOG_PID, LOG_DAEMON);
    const common::FileDescriptor end = serving::WatchForEnd();
    common::FileDescriptor listening = serving::Listen(schdlscn::kServiceSocket);
    if (!end || !listening) {
        ::syslog(LOG_ERR, "%s cannot be listened at: %s", schdlscn::kServiceSocket,
                 std::strerror(errno));
        return kExitFailed;
    }
    schdlscn::MachineClock clock;
    if (!clock.IsWhole()) {
        ::syslog(LOG_ERR, "the clock cannot be watched: %s", std::strerror(errno));
        return kExitFailed;
    }
    schdlscn::ScanLauncher launcher(common::InProductDirectory(kProgramName),
                                    common::InProductDirectory(kReports),
                                    common::InProductDirectory(kNotifierName));
    schdlscn::Service service(std::move(listening), common::InProductDirectory(kScheduleTaskList),
                              clock, launcher);
    service.Serve(end.Get());
    return kExitOk;
}
