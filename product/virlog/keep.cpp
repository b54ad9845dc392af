#include "product/virlog/keep.h"

#include <chrono>
#include <ctime>
#include <string>
#include <unistd.h>
#include <vector>

#include "common/named_mutex.h"
#include "product/virlog/failure_reason.h"
#include "product/virlog/held_locks.h"
#include "product/virlog/held_signals.h"
#include "product/virlog/log_source.h"
#include "product/virlog/output.h"
#include "reports/virus_log/keep_newest.h"

namespace {

using Clock = std::chrono::steady_clock;

bool Cut(std::uint32_t count, virus_log::CutRecords& cut) {
    HeldSignals signals;
    const std::vector<HeldLock> before = FindHeldLocks();
    const auto tellOfWait = [&before] { TellOfHeldLock(before); };
    return signals.Run([&] { return virus_log::KeepNewest(count, cut); }, tellOfWait,
                       common::EndMutexWaits);
}

std::string Told(const virus_log::CutRecords& cut) {
    return Counted(cut.removed, " record removed, ", " records removed, ") +
           Counted(cut.remaining, " stays\n", " stay\n");
}

}  // namespace

int Keep(std::uint32_t count) {
    std::string problem;
    if (!FindProduct(problem)) {
        Say(problem);
        return 1;
    }
    if (!IsAnythingLogged()) {
        Say("nothing has been logged yet");
        return 0;
    }
    problem = ReasonNotToCut();
    if (!problem.empty()) {
        Say(problem);
        return 1;
    }
    const Clock::time_point start = Clock::now();
    virus_log::CutRecords cut;
    if (!Cut(count, cut)) {
        Say(ReasonOfFailedCut(Clock::now() - start));
        return 1;
    }
    Output output(STDOUT_FILENO);
    output.Buffer() = Told(cut);
    if (!output.Finish()) {
        ReportFailure(output);
        return 1;
    }
    return 0;
}
