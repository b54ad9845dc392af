#include "product/scanhost/host.h"

#include <array>
#include <csignal>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/retrying.h"
#include "product/scanhost/confinement.h"
#include "product/scanhost/end_watcher.h"
#include "product/scanhost/first_scan.h"
#include "product/scanhost/late_parts.h"
#include "product/scanhost/workers.h"
#include "product/scanning/library_engine.h"
#include "product/scanwire/switches.h"

namespace scanhost {

namespace {

constexpr int kEnded = 0;
constexpr int kFailed = 1;

// Where a worker unpacks: its working folder.
constexpr char kScratch[] = ".";

int Refuse(const ControlSocket& control, const std::string& reason) {
    control.Tell(scanwire::NotLoaded{reason});
    return kFailed;
}

scanning::LoadedDatabases LoadWatched(const ControlSocket& control, const LoadWish& wish) {
    // Gone before the first process is forked, which would have no such thread.
    const EndWatcher watcher(control.Descriptor());
    if (!scanning::StartLibrary()) {
        return {.engine = nullptr, .problem = "the library cannot be used"};
    }
    return scanning::LoadDatabases(wish.databases, kScratch,
                                   [&](const std::string& path, const std::string& reason) {
                                       control.Tell(scanwire::LeftOut{path, reason});
                                   });
}

// From here on the end of a child is read from the descriptor.
common::FileDescriptor BlockChildSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    return common::FileDescriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

void Drain(int signals) {
    signalfd_siginfo ignored{};
    while (::read(signals, &ignored, sizeof(ignored)) > 0) {
    }
}

int LookAfter(Workers& workers, ControlSocket& control, int signals) {
    std::array<pollfd, 2> events{{{control.Descriptor(), POLLIN, 0}, {signals, POLLIN, 0}}};
    while (common::Retrying([&] {
               return ::poll(events.data(), events.size(), workers.UntilNextLook());
           }) >= 0) {
        // First, as workers end with the engine, too.
        if (events[0].revents != 0) {
            const auto replace = control.ReceiveReplace();
            if (!replace) {
                return kEnded;
            }
            workers.End(*replace);
        }
        if (events[1].revents != 0) {
            Drain(signals);
        }
        if (!workers.Reap()) {
            return kFailed;
        }
    }
    return kFailed;
}

int ServeLoaded(ControlSocket& control, const LoadWish& wish,
                const scanning::LoadedDatabases& loaded) {
    OpenLateParts();
    ScanOnce(loaded.engine.get(), wish.load.scratchBase);
    std::string why;
    const auto confinement = Confinement::Prepare({.switches = wish.load.switches,
                                                   .memoryLimitMiB = wish.load.memoryLimitMiB,
                                                   .workers = wish.load.workers,
                                                   .scratchBase = wish.load.scratchBase},
                                                  why);
    if (confinement == nullptr) {
        return Refuse(control, why);
    }
    for (const std::string& line : confinement->Missing()) {
        control.Tell(scanwire::Log{line});
    }
    const common::FileDescriptor signals = BlockChildSignals();
    if (!signals) {
        return Refuse(control, "no descriptor for signals");
    }
    if (!control.Tell(scanwire::Loaded{loaded.signatures})) {
        return kEnded;
    }
    const bool notesRefusals = (wish.load.switches & scanwire::kNoRefusalNotes) == 0;
    Workers workers(loaded.engine.get(), *confinement, control, notesRefusals);
    return workers.Start(wish.load.workers) ? LookAfter(workers, control, signals.Get()) : kFailed;
}

}  // namespace

bool IsControlSocket(int descriptor) {
    int type = 0;
    socklen_t size = sizeof(type);
    return ::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 &&
           type == SOCK_SEQPACKET;
}

int Serve(int control) {
    ControlSocket socket(control);
    const auto wish = socket.ReceiveWish();
    if (!wish) {
        return kFailed;
    }
    scanning::LoadedDatabases loaded = LoadWatched(socket, *wish);
    if (loaded.engine == nullptr) {
        return Refuse(socket, loaded.problem);
    }
    const int status = ServeLoaded(socket, *wish, loaded);
    // The memory of a million signatures goes with the process sooner than piece by piece.
    ::_exit(status);
}

}  // namespace scanhost
