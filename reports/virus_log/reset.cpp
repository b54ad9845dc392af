#include "reports/virus_log/reset.h"

#include <cstdint>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

#include "common/io.h"
#include "reports/virus_log/delete_records.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/log_mutex.h"
#include "reports/virus_log/record_count.h"
#include "reports/virus_log/virus_log.h"

namespace {

constexpr off_t kHeadSize = sizeof(tagVIRHEAD);

// The two files of a merge.
struct Merge {
    FileDescriptor from;
    FileDescriptor into;
    off_t fromSize = 0;
    off_t intoSize = 0;
    tagVIRCOUNTER fromCounter{};
    tagVIRCOUNTER intoCounter{};
};

std::optional<Merge> OpenBoth(const char* into, const char* from) {
    Merge merge;
    merge.from = OpenExistingLogFile(from, O_RDONLY);
    merge.into = OpenExistingLogFile(into, O_RDWR);
    if (!merge.from || !merge.into) {
        return std::nullopt;
    }
    merge.fromSize = SizeOf(merge.from.Get());
    merge.intoSize = SizeOf(merge.into.Get());
    if (merge.fromSize < 0 || merge.intoSize < 0 ||
        !ReadAt(merge.from.Get(), 0, BytesOf(merge.fromCounter)) ||
        !ReadAt(merge.into.Get(), 0, BytesOf(merge.intoCounter))) {
        return std::nullopt;
    }
    return merge;
}

bool AppendRecords(const Merge& merge, int table) {
    off_t source = kHeadSize;
    off_t target = merge.intoSize;
    for (std::uint32_t i = 0; i < merge.fromCounter.count; ++i) {
        tagVIRRECORD record{};
        if (!ReadAt(merge.from.Get(), source, BytesOf(record)) ||
            RecordSize(record) > static_cast<std::uint64_t>(merge.fromSize - source) ||
            !WriteRecordOffsetDatabaseFile(table, target, merge.intoCounter.count + i) ||
            !CopyBytes(merge.from.Get(), source, merge.into.Get(), target, RecordSize(record))) {
            return false;
        }
        source += static_cast<off_t>(RecordSize(record));
        target += static_cast<off_t>(RecordSize(record));
    }
    return true;
}

int AppendAndRemove(const Merge& merge, const char* from) {
    if (merge.fromCounter.count == 0) {
        return RemoveLogFile(from) ? 1 : 0;
    }
    const FileDescriptor table(OpenRecordOffsetDatabaseFile());
    if (!table) {
        return kDeleteIoFailed;
    }
    const off_t tableSize = SizeOf(table.Get());
    if (AppendRecords(merge, table.Get()) && RemoveLogFile(from)) {
        return 1;
    }
    if (SizeOf(table.Get()) > tableSize) {
        (void)::ftruncate(table.Get(), tableSize);
    }
    return 0;
}

}  // namespace

int MergeFiles(const char* into, const char* from) {
    if (into == nullptr || from == nullptr) {
        return 0;
    }
    // A reset that calls this holds the mutex already, which makes this wait in vain: kept as it
    // always was. The records wait unharmed in the second file until the reset calls this again.
    const LogMutex mutex(kRecordMutex, kResetWait);
    return mutex.IsHeld() ? MergeHeldFiles(into, from) : 0;
}

int MergeHeldFiles(const char* into, const char* from) {
    const std::optional<Merge> merge = OpenBoth(into, from);
    if (!merge || off_t{merge->intoCounter.count} > merge->intoSize) {
        return 0;  // others have written the count, which decides how large the table grows
    }
    tagVIRCOUNTER sum = merge->intoCounter;
    sum.count += merge->fromCounter.count;
    if (!WriteAt(merge->into.Get(), 0, BytesOf(sum))) {
        return 0;
    }
    const int result = AppendAndRemove(*merge, from);
    if (result != 1) {
        // The records are in `from` still, so those already copied would be there twice.
        (void)WriteAt(merge->into.Get(), 0, BytesOf(merge->intoCounter));
        (void)::ftruncate(merge->into.Get(), merge->intoSize);
    }
    return result;
}

bool PerformResetLog(unsigned int count) {
    const LogMutex mainMutex(kMainFileMutex, kMainFileWait);
    if (!mainMutex.IsHeld()) {
        return false;
    }
    const FileDescriptor main = OpenLogFile(kMainFile);
    if (!main || !WriteResetMainFileHeader(main.Get())) {
        return false;
    }
    // Waits until a record that is being added is in; the next one goes to the second file.
    const bool isQuiet = LogMutex(kRecordMutex, kResetWait).IsHeld();
    if (!isQuiet || DeleteRecords(kRecordFile, count) != kDeleteDone) {
        (void)RestoreMainFileHeader(main.Get());
        if (isQuiet) {
            // What others added meanwhile goes back to where it would have gone.
            (void)MergeFiles(kRecordFile, kSecondRecordFile);
        }
        return false;
    }
    LogMutex recordMutex(kRecordMutex, kResetWait);
    const bool isMerged = MergeFiles(kRecordFile, kSecondRecordFile) == 1;
    (void)RestoreMainFileHeader(main.Get());
    recordMutex.Release();
    if (!isMerged) {
        // Now the mutex is free. What still cannot be merged waits in the second file; that the
        // oldest are gone stays true.
        (void)MergeFiles(kRecordFile, kSecondRecordFile);
    }
    return true;
}

bool ZQVRResetLog(unsigned int count, unsigned int* remaining) {
    if (remaining == nullptr) {
        return false;
    }
    const std::optional<std::uint32_t> held = CorrectCounts();
    if (!held || *held < count) {
        return false;
    }
    *remaining = *held - count;
    return PerformResetLog(count);
}
