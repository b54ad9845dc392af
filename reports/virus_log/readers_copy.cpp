#include "reports/virus_log/readers_copy.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/run_state.h"
#include "common/wide_string.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/log_mutex.h"
#include "reports/virus_log/virus_log.h"

namespace virus_log {

namespace {

constexpr char kRecordCopy[] = "cpyONE.dat";
constexpr char kOffsetCopy[] = "cpyOFFST.dat";

// The two copies while they are made, open for reading and writing.
struct Copies {
    common::FileDescriptor records;
    common::FileDescriptor offsets;
};

void RemoveCopies() {
    (void)RemoveLogFile(kRecordCopy);
    (void)RemoveLogFile(kOffsetCopy);
}

// A copy that is this user's own: another's could still be changed by him while it is read.
common::FileDescriptor MakeCopyFile(std::string_view name) {
    common::FileDescriptor file = OpenTemporaryLogFile(name);
    struct stat status {};
    if (file && (::fstat(file.Get(), &status) != 0 || status.st_uid != ::geteuid())) {
        file.Reset();
    }
    return file;
}

// A file that is larger than its offsets can tell would only fill the disk.
bool IsOfPossibleSize(int records) {
    const off_t size = SizeOf(records);
    return size >= 0 && size <= static_cast<off_t>(std::numeric_limits<std::uint32_t>::max());
}

// An open file is enough: a merge removes it, a trim puts another in its place, and adding only
// appends. Where a trim has to write over it, the reader finds at worst a torn record.
WaitingRecords OpenWaiting() {
    WaitingRecords waiting;
    waiting.file = OpenExistingLogFile(kSecondRecordFile, O_RDONLY);
    if (waiting.file) {
        waiting.size = static_cast<std::uint64_t>(std::max<off_t>(SizeOf(waiting.file.Get()), 0));
    } else if (errno != ENOENT) {
        waiting.error = errno;
    }
    return waiting;
}

// Copies both files of the log, which must exist, while nobody writes them.
bool CopyBoth(Copies& copies, WaitingRecords& waiting) {
    const LogMutex mainMutex(kMainFileMutex, kMainFileWait);
    if (!mainMutex.IsHeld()) {
        return false;
    }
    const LogMutex recordMutex(kRecordMutex, kResetWait);
    if (!recordMutex.IsHeld()) {
        return false;
    }
    const common::FileDescriptor records = OpenExistingLogFile(kRecordFile, O_RDONLY);
    const common::FileDescriptor offsets = OpenExistingLogFile(kOffsetFile, O_RDONLY);
    if (!records || !offsets || !IsOfPossibleSize(records.Get())) {
        return false;  // the copies that may be there are an earlier reader's
    }
    waiting = OpenWaiting();
    copies.records = MakeCopyFile(kRecordCopy);
    copies.offsets = MakeCopyFile(kOffsetCopy);
    // Offsets take less room than the records do, whatever size somebody has given their file.
    const off_t tableSize = std::min(SizeOf(offsets.Get()), SizeOf(records.Get()));
    return copies.records && copies.offsets && tableSize >= 0 &&
           CopyContent(records.Get(), copies.records.Get()) &&
           CopyBytes(offsets.Get(), 0, copies.offsets.Get(), 0,
                     static_cast<std::uint64_t>(tableSize));
}

// Appends the table to the records, so that one file tells all.
bool AppendTable(const Copies& copies) {
    tagVIRCOUNTER counter{};
    const off_t end = SizeOf(copies.records.Get());
    const off_t tableSize = SizeOf(copies.offsets.Get());
    if (!ReadAt(copies.records.Get(), 0, common::BytesOf(counter)) || end < 0 || tableSize < 0) {
        return false;
    }
    counter.tableOffset = static_cast<std::uint32_t>(end);
    // A writer that was killed has left fewer offsets than the count tells.
    constexpr std::uint64_t kEntry = sizeof(std::uint32_t);
    const std::uint64_t entries =
        std::min<std::uint64_t>(counter.count, static_cast<std::uint64_t>(tableSize) / kEntry);
    return WriteAt(copies.records.Get(), 0, common::BytesOf(counter)) &&
           CopyBytes(copies.offsets.Get(), 0, copies.records.Get(), end, entries * kEntry);
}

}  // namespace

bool GetWaitingRecords(WaitingRecords& waiting) {
    const LogMutex recordMutex(kRecordMutex, kResetWait);
    if (!recordMutex.IsHeld()) {
        return false;
    }
    waiting = OpenWaiting();
    return true;
}

bool GetVirusReportFile(unsigned short* path, WaitingRecords& waiting) {
    static_assert(sizeof g_szAppPath + sizeof "reports/" + sizeof kRecordCopy <=
                  kVirusReportPathSize);
    if (path == nullptr) {
        return false;
    }
    Copies copies;
    if (!CopyBoth(copies, waiting) || !AppendTable(copies)) {
        if (copies.records || copies.offsets) {
            RemoveCopies();
        }
        return false;
    }
    (void)RemoveLogFile(kOffsetCopy);
    CopySZToWSZ(path, VirusLogPath(kRecordCopy).c_str());
    return true;
}

}  // namespace virus_log

bool ZQVRGetVirusReportFile(unsigned short* path) {
    virus_log::WaitingRecords waiting;
    return virus_log::GetVirusReportFile(path, waiting);
}
