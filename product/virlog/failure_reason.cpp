#include "product/virlog/failure_reason.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

#include "product/virlog/held_locks.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/log_mutex.h"
#include "reports/virus_log/virus_record.h"

namespace {

// Each gives an empty text when the reason is another one.

std::string FileReason(const char* name) {
    const std::string path = VirusLogPath(name);
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return errno == ENOENT
                   ? "the virus log is not complete: " + path + " is missing"
                   : "the virus log cannot be read: " + path + ": " + std::strerror(errno);
    }
    if (!S_ISREG(status.st_mode) || status.st_nlink > 1) {
        return "the virus log is left alone: " + path + " is a link or no plain file";
    }
    if (::access(path.c_str(), R_OK) != 0) {
        return "the virus log may not be read: " + path + " belongs to " + OwnerName(status.st_uid);
    }
    return {};
}

std::string FolderReason() {
    const std::string folder = VirusLogPath("");
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        return "no copy of the virus log can be made in " + folder + ": " + std::strerror(errno);
    }
    struct statvfs space {};
    if (::statvfs(folder.c_str(), &space) == 0 && space.f_bavail == 0) {
        return "there is no room for a copy of the virus log in " + folder;
    }
    return {};
}

std::string LockReason(std::chrono::nanoseconds waited) {
    const std::vector<HeldLock> locks = FindHeldLocks();
    if (!locks.empty()) {
        return "another process holds the virus log: " +
               Describe(locks.front(), std::time(nullptr)) +
               "; when that process is gone, \"corvane-virlog --unlock\" helps";
    }
    // A reader waits as long as this for the one or for the other.
    static_assert(kMainFileWait == kResetWait);
    if (waited >= std::chrono::seconds(kMainFileWait)) {
        return "the virus log was in use all the time; try again";
    }
    return {};
}

std::string HeadReason() {
    struct stat status {};
    const std::string path = VirusLogPath(kRecordFile);
    return ::stat(path.c_str(), &status) == 0 &&
                   status.st_size < static_cast<off_t>(sizeof(tagVIRHEAD))
               ? "the virus log is damaged: " + path + " is shorter than its head"
               : "";
}

}  // namespace

std::string ReasonOfFailure(std::chrono::nanoseconds waited) {
    for (const std::string& reason : {FileReason(kRecordFile), FileReason(kOffsetFile),
                                      FolderReason(), LockReason(waited), HeadReason()}) {
        if (!reason.empty()) {
            return reason;
        }
    }
    return "the virus log could not be copied in " + VirusLogPath("");
}
