#pragma once

#include <cstdint>
#include <string>

#include "abi/schdlscn.h"

/// What the scheduler says about all scans of the user taken together. Times are seconds since
/// 1970.
struct ScheduleNews {
    /// False where the library is missing or does not tell: then nothing else counts.
    bool isTold = false;
    unsigned int error = kScheduleOk;  ///< a ScheduleError: why it told nothing more
    bool serviceRuns = false;
    std::size_t tasks = 0;
    bool isRunning = false;    ///< one is being scanned, or waits for its turn
    std::string next;          ///< the name of the scan that runs next; bytes
    std::int64_t nextRun = 0;  ///< 0 when no time is known, as of scans at the first boot
    std::int64_t lastEnd = 0;  ///< of the run that ended last; 0 when none did
    tagSCHEDULE_TASK_STATE last{};
};

/// Asks the scheduler's library, which may take some seconds where its service hangs. Any thread,
/// one at a time.
ScheduleNews AskScheduler();
