#include "product/schdlscn/folder_check.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "product/schdlscn/task.h"

namespace schdlscn {

namespace {

ScheduleError ErrorOf(int systemError) {
    switch (systemError) {
        case EACCES:
        case EPERM:
            return kScheduleFolderForbidden;
        case ENOENT:
        case ENOTDIR:
        case ELOOP:
        case ENAMETOOLONG:
            return kScheduleFolderMissing;
        default:
            return kScheduleFoldersRefused;  // the disk or the machine fails: others would, too
    }
}

}  // namespace

ScheduleError WrongWithFolder(const std::string& path) {
    if (const ScheduleError error = WrongInFolder(path); error != kScheduleOk) {
        return error;
    }
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return ErrorOf(errno);
    }
    if (!S_ISDIR(status.st_mode)) {
        return kScheduleFolderIsFile;
    }
    return ::faccessat(AT_FDCWD, path.c_str(), R_OK | X_OK, AT_EACCESS) == 0 ? kScheduleOk
                                                                             : ErrorOf(errno);
}

}  // namespace schdlscn
