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
    common::FileDescriptor from;
    common::FileDescriptor into;
    off_t fromSize = 0;
    off_t intoSize = 0;
    tagVIRCOUNTER fromCounter{};
    tagVIRCOUNTER intoCounter{};
};

std::optional<Merge> OpenBoth(const char* into, const char* from) {
    Merge merge;
    merge.from = virus_log::OpenExistingLogFile(from, O_RDONLY);
    merge.into = virus_log::OpenExistingLogFile(into, O_RDWR);
    if (!merge.from || !merge.into) {
        return std::nullopt;
    }
    merge.fromSize = virus_log::SizeOf(merge.from.Get());
    merge.intoSize = virus_log::SizeOf(merge.into.Get());
    if (merge.fromSize < 0 || merge.intoSize < 0 ||
        !virus_log::ReadAt(merge.from.Get(), 0, common::BytesOf(merge.fromCounter)) ||
        !virus_log::ReadAt(merge.into.Get(), 0, common::BytesOf(merge.intoCounter))) {
        return std::nullopt;
    }
    return merge;
}

bool AppendRecords(const Merge& merge, int table) {
    off_t source = kHeadSize;
    off_t target = merge.intoSize;
    for (std::uint32_t i = 0; i < merge.fromCounter.count; ++i) {
        tagVIRRECORD record{};
        if (!virus_log::ReadAt(merge.from.Get(), source, common::BytesOf(record)) ||
            virus_log::RecordSize(record) > static_cast<std::uint64_t>(merge.fromSize - source) ||
            !WriteRecordOffsetDatabaseFile(table, target, merge.intoCounter.count + i) ||
            !virus_log::CopyBytes(merge.from.Get(), source, merge.into.Get(), target,
                                  virus_log::RecordSize(record))) {
            return false;
        }
        source += static_cast<off_t>(virus_log::RecordSize(record));
        target += static_cast<off_t>(virus_log::RecordSize(record));
    }
    return true;
}

int AppendAndRemove(const Merge& merge, const char* from) {
    if (merge.fromCounter.count == 0) {
        return virus_log::RemoveLogFile(from) ? 1 : 0;
    }
    const common::FileDescriptor table(OpenRecordOffsetDatabaseFile());
    if (!table) {
        return kDeleteIoFailed;
    }
    const off_t tableSize = virus_log::SizeOf(table.Get());
    if (AppendRecords(merge, table.Get()) && virus_log::RemoveLogFile(from)) {
        return 1;
    }
    if (virus_log::SizeOf(table.Get()) > tableSize) {
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
    const virus_log::LogMutex mutex(virus_log::kRecordMutex, virus_log::kResetWait);
    return mutex.IsHeld() ? virus_log::MergeHeldFiles(into, from) : 0;
}

int virus_log::MergeHeldFiles(const char* into, const char* from) {
    const std::optional<Merge> merge = OpenBoth(into, from);
    if (!merge || off_t{merge->intoCounter.count} > merge->intoSize) {
        return 0;  // others have written the count, which decides how large the table grows
    }
    tagVIRCOUNTER sum = merge->intoCounter;
    sum.count += merge->fromCounter.count;
    if (!virus_log::WriteAt(merge->into.Get(), 0, common::BytesOf(sum))) {
        return 0;
    }
    const int result = AppendAndRemove(*merge, from);
    if (result != 1) {
        // The records are in `from` still, so those already copied would be there twice.
        (void)virus_log::WriteAt(merge->into.Get(), 0, common::BytesOf(merge->intoCounter));
        (void)::ftruncate(merge->into.Get(), merge->intoSize);
    }
    return result;
}

bool PerformResetLog(unsigned int count) {
    const virus_log::LogMutex mainMutex(virus_log::kMainFileMutex, virus_log::kMainFileWait);
    if (!mainMutex.IsHeld()) {
        return false;
    }
    const common::FileDescriptor main = virus_log::OpenLogFile(virus_log::kMainFile);
    if (!main || !virus_log::WriteResetMainFileHeader(main.Get())) {
        return false;
    }
    // Waits until a record that is being added is in; the next one goes to the second file.
    const bool isQuiet =
        virus_log::LogMutex(virus_log::kRecordMutex, virus_log::kResetWait).IsHeld();
    if (!isQuiet || DeleteRecords(virus_log::kRecordFile, count) != kDeleteDone) {
        (void)RestoreMainFileHeader(main.Get());
        if (isQuiet) {
            // What others added meanwhile goes back to where it would have gone.
            (void)MergeFiles(virus_log::kRecordFile, virus_log::kSecondRecordFile);
        }
        return false;
    }
    virus_log::LogMutex recordMutex(virus_log::kRecordMutex, virus_log::kResetWait);
    const bool isMerged = MergeFiles(virus_log::kRecordFile, virus_log::kSecondRecordFile) == 1;
    (void)RestoreMainFileHeader(main.Get());
    recordMutex.Release();
    if (!isMerged) {
        // Now the mutex is free. What still cannot be merged waits in the second file; that the
        // oldest are gone stays true.
        (void)MergeFiles(virus_log::kRecordFile, virus_log::kSecondRecordFile);
    }
    return true;
}

bool ZQVRResetLog(unsigned int count, unsigned int* remaining) {
    if (remaining == nullptr) {
        return false;
    }
    const std::optional<std::uint32_t> held = virus_log::CorrectCounts();
    if (!held || *held < count) {
        return false;
    }
    *remaining = *held - count;
    return PerformResetLog(count);
}
