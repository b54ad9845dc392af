#include <algorithm>
#include <fcntl.h>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_copy.h"
#include "common/io.h"
#include "common/wide_string.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/log_mutex.h"
#include "reports/virus_log/virus_log.h"

namespace {

constexpr char kRecordCopy[] = "cpyONE.dat";
constexpr char kOffsetCopy[] = "cpyOFFST.dat";

// Copies a file of the log that must exist. Everybody may write in the folder, so nothing is copied
// over a link that was laid there.
bool CopyLogFile(std::string_view from, std::string_view to) {
    const std::string source = VirusLogPath(from);
    const std::string target = VirusLogPath(to);
    return OpenExistingLogFile(from, O_RDONLY).IsOpen() && OpenLogFile(to).IsOpen() &&
           CopyFile(source.c_str(), target.c_str()) != 0;
}

void RemoveCopies() {
    (void)RemoveLogFile(kRecordCopy);
    (void)RemoveLogFile(kOffsetCopy);
}

bool CopyBoth() {
    const LogMutex mainMutex(kMainFileMutex, kMainFileWait);
    if (!mainMutex.IsHeld()) {
        return false;
    }
    const LogMutex recordMutex(kRecordMutex, kResetWait);
    if (!recordMutex.IsHeld()) {
        return false;  // the copies that may be there are another reader's
    }
    if (CopyLogFile(kRecordFile, kRecordCopy) && CopyLogFile(kOffsetFile, kOffsetCopy)) {
        return true;
    }
    RemoveCopies();
    return false;
}

// Appends the table to the records, so that one file tells all.
bool AppendTable() {
    const FileDescriptor copy = OpenExistingLogFile(kRecordCopy, O_RDWR);
    const FileDescriptor table = OpenExistingLogFile(kOffsetCopy, O_RDONLY);
    tagVIRCOUNTER counter{};
    if (!copy || !table || !ReadAt(copy.Get(), 0, BytesOf(counter))) {
        return false;
    }
    const off_t end = SizeOf(copy.Get());
    if (end < 0 || end > static_cast<off_t>(std::numeric_limits<std::uint32_t>::max())) {
        return false;
    }
    counter.tableOffset = static_cast<std::uint32_t>(end);
    // A writer that was killed has left fewer offsets than the count tells.
    constexpr std::uint64_t kEntry = sizeof(std::uint32_t);
    const std::uint64_t there = static_cast<std::uint64_t>(std::max<off_t>(SizeOf(table.Get()), 0));
    const std::uint64_t entries = std::min<std::uint64_t>(counter.count, there / kEntry);
    return WriteAt(copy.Get(), 0, BytesOf(counter)) &&
           CopyBytes(table.Get(), 0, copy.Get(), end, entries * kEntry);
}

}  // namespace

bool ZQVRGetVirusReportFile(unsigned short* path) {
    const std::string copy = VirusLogPath(kRecordCopy);
    if (path == nullptr || copy.size() >= kVirusReportPathSize) {
        return false;
    }
    if (!CopyBoth()) {
        return false;
    }
    if (!AppendTable()) {
        RemoveCopies();
        return false;
    }
    (void)RemoveLogFile(kOffsetCopy);
    CopySZToWSZ(path, copy.c_str());
    return true;
}
