#include "product/virlog/failure_reason.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

#include "product/virlog/held_locks.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/log_mutex.h"
#include "reports/virus_log/log_reader.h"
#include "reports/virus_log/virus_record.h"

namespace {

// Each gives an empty text when the reason is another one.

std::string FileReason(const char* name) {
    const std::string path = virus_log::VirusLogPath(name);
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
    const std::string folder = virus_log::VirusLogPath("");
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
    static_assert(virus_log::kMainFileWait == virus_log::kResetWait);
    if (waited >= std::chrono::seconds(virus_log::kMainFileWait)) {
        return "the virus log was in use all the time; try again";
    }
    return {};
}

std::string HeadReason() {
    struct stat status {};
    const std::string path = virus_log::VirusLogPath(virus_log::kRecordFile);
    // An empty one is as installed.
    return ::stat(path.c_str(), &status) == 0 && status.st_size > 0 &&
                   status.st_size < static_cast<off_t>(sizeof(tagVIRHEAD))
               ? "the virus log is damaged: " + path + " is shorter than its head"
               : "";
}

std::string TornReason() {
    const common::FileDescriptor file =
        virus_log::OpenExistingLogFile(virus_log::kRecordFile, O_RDONLY);
    virus_log::VirusLogContents contents;
    const off_t size = file ? virus_log::SizeOf(file.Get()) : -1;
    return size > 0 &&
                   virus_log::ReadRecordFile(file.Get(), static_cast<std::uint64_t>(size),
                                             contents) == virus_log::ReadLogResult::kOk &&
                   contents.damagedBytes > 0
               ? "the virus log is damaged and cannot be cut: " +
                     virus_log::VirusLogPath(virus_log::kRecordFile)
               : "";
}

// In a sticky folder only the owner of a file, the folder's own and root can put another file in
// its place, which is how the log is cut.
std::string OwnerReason() {
    const std::string path = virus_log::VirusLogPath(virus_log::kRecordFile);
    struct stat file {};
    struct stat folder {};
    if (::lstat(path.c_str(), &file) != 0 ||
        ::stat(virus_log::VirusLogPath("").c_str(), &folder) != 0 || ::geteuid() == 0 ||
        ::geteuid() == file.st_uid ||
        ((folder.st_mode & S_ISVTX) == 0 || ::geteuid() == folder.st_uid)) {
        return {};
    }
    const std::string owner = OwnerName(file.st_uid);
    return "the virus log may not be cut: " + path + " belongs to " + owner + "; only " + owner +
           (file.st_uid == 0 ? "" : " or root") + " can cut it";
}

// A failed cut has given back what it had taken of the disk. It needs no more than the log has.
std::string RoomReason() {
    const std::string folder = virus_log::VirusLogPath("");
    struct statvfs space {};
    struct stat log {};
    return ::statvfs(folder.c_str(), &space) == 0 &&
                   ::stat(virus_log::VirusLogPath(virus_log::kRecordFile).c_str(), &log) == 0 &&
                   space.f_bavail * space.f_frsize < static_cast<std::uint64_t>(log.st_size)
               ? "there is no room in " + folder + " for the part of the virus log that stays"
               : "";
}

std::string FirstOf(std::initializer_list<std::string> reasons) {
    const auto* const first = std::find_if(
        reasons.begin(), reasons.end(), [](const std::string& reason) { return !reason.empty(); });
    return first == reasons.end() ? "" : *first;
}

}  // namespace

std::string ReasonNotToCut() {
    const std::string folder = virus_log::VirusLogPath("");
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        return "the virus log may not be cut in " + folder + ": " + std::strerror(errno);
    }
    return OwnerReason();
}

std::string ReasonOfFailedCut(std::chrono::nanoseconds waited) {
    const std::string reason = FirstOf({FileReason(virus_log::kRecordFile), LockReason(waited),
                                        HeadReason(), TornReason(), RoomReason()});
    return reason.empty() ? "the virus log could not be cut in " + virus_log::VirusLogPath("")
                          : reason;
}

std::string ReasonOfFailure(std::chrono::nanoseconds waited) {
    const std::string reason =
        FirstOf({FileReason(virus_log::kRecordFile), FileReason(virus_log::kOffsetFile),
                 FolderReason(), LockReason(waited), HeadReason()});
    return reason.empty() ? "the virus log could not be copied in " + virus_log::VirusLogPath("")
                          : reason;
}
