// corvane-updated: updates the virus definitions for whoever asks at its socket. Where from, it
// reads itself; who asks decides nothing but that.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <syslog.h>

#include "common/paths.h"
#include "product/serving/end_watch.h"
#include "product/serving/listening.h"
#include "product/updated/option_watch.h"
#include "product/updated/server.h"

namespace {

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

constexpr char kSocketPath[] = "/run/corvane/update.sock";
constexpr char kProgramName[] = "corvane-update";
constexpr char kStateFolder[] = "/var/lib/corvane-updated";

}  // namespace

int main(int argc, char**) {
    if (argc != 1) {
        std::fputs("Usage: corvane-updated\n", stderr);
        return kExitUsage;
    }
    std::signal(SIGPIPE, SIG_IGN);
    ::openlog("corvane-updated", LOG_PID, LOG_DAEMON);
    const common::FileDescriptor end = serving::WatchForEnd();
    common::FileDescriptor listening = serving::Listen(kSocketPath);
    if (!end || !listening) {
        ::syslog(LOG_ERR, "%s cannot be listened at: %s", kSocketPath, std::strerror(errno));
        return kExitFailed;
    }
    updated::OptionWatch options(kProductDirectory);
    updated::Server server(
        std::move(listening),
        {kProductDirectory, common::InProductDirectory(kProgramName), kStateFolder});
    server.Serve(end.Get(), options.Descriptor(), [&options] { options.Look(); });
    return kExitOk;
}
