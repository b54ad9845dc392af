#include "reports/virus_log/keep_newest.h"

#include <optional>

#include "reports/virus_log/log_files.h"
#include "reports/virus_log/log_mutex.h"
#include "reports/virus_log/record_count.h"
#include "reports/virus_log/reset.h"
#include "reports/virus_log/virus_log.h"

namespace {

// The number of records once those that wait are with the others. No reset may run meanwhile, which
// would merge them too.
std::optional<std::uint32_t> CountMerged() {
    const LogMutex mainMutex(kMainFileMutex, kMainFileWait);
    if (!mainMutex.IsHeld() || !CorrectCounts()) {
        return std::nullopt;
    }
    (void)MergeFiles(kRecordFile, kSecondRecordFile);
    return CorrectCounts();
}

}  // namespace

bool KeepNewest(std::uint32_t keep, CutRecords& out) {
    const std::optional<std::uint32_t> count = CountMerged();
    if (!count) {
        return false;
    }
    if (*count <= keep) {
        out = {0, *count};
        return true;
    }
    out.removed = *count - keep;
    return ZQVRResetLog(out.removed, &out.remaining);
}
