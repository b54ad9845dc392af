#include "reports/virus_log/keep_newest.h"

#include <fcntl.h>
#include <optional>
#include <unistd.h>

#include "common/io.h"
#include "reports/virus_log/delete_records.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/log_mutex.h"
#include "reports/virus_log/record_count.h"
#include "reports/virus_log/reset.h"

namespace virus_log {

namespace {

bool SendRecordsToMainFile() {
    const common::FileDescriptor main = OpenLogFile(kMainFile);
    return main && RestoreMainFileHeader(main.Get());
}

// A log as installed is empty until its first record, and a reset that was killed may have sent
// that to the second file. Nothing can be merged into a file without a head.
void GiveHead() {
    const common::FileDescriptor second = OpenExistingLogFile(kSecondRecordFile, O_RDONLY);
    tagVIRHEAD head{};
    if (!second || !ReadAt(second.Get(), 0, common::BytesOf(head))) {
        return;
    }
    const common::FileDescriptor records = OpenLogFile(kRecordFile);
    head.counter.count = 0;
    if (records && SizeOf(records.Get()) == 0 &&
        !WriteAt(records.Get(), 0, common::BytesOf(head))) {
        (void)::ftruncate(records.Get(), 0);
    }
}

}  // namespace

bool KeepNewest(std::uint32_t keep, CutRecords& out) {
    // Not by ZQVRResetLog: it lets go of the mutexes between counting and cutting, and then keeps
    // whoever adds a record waiting for longer than they wait.
    const LogMutex mainMutex(kMainFileMutex, kMainFileWait);
    if (!mainMutex.IsHeld()) {
        return false;
    }
    const LogMutex recordMutex(kRecordMutex, kResetWait);
    if (!recordMutex.IsHeld() || !SendRecordsToMainFile()) {
        return false;
    }
    GiveHead();
    if (!CorrectHeldCounts()) {
        return false;
    }
    // What cannot be merged waits on.
    (void)MergeHeldFiles(kRecordFile, kSecondRecordFile);
    const std::optional<std::uint32_t> count = CorrectHeldCounts();
    if (!count) {
        return false;
    }
    const std::uint32_t removed = *count > keep ? *count - keep : 0;
    if (removed > 0 && DeleteRecords(kRecordFile, removed) != kDeleteDone) {
        return false;
    }
    out = {removed, *count - removed};
    return true;
}

}  // namespace virus_log
