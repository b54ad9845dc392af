#include "product/scanapi/user_log.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/user_folders.h"
#include "product/vault/place.h"

namespace scanapi {

namespace {

constexpr char kName[] = "scan.log";
constexpr char kOldName[] = "scan.log.old";

common::FileDescriptor OpenLog(int folder) {
    common::FileDescriptor log = common::OpenRegularFileAt(
        folder, kName, O_WRONLY | O_APPEND | O_CREAT, common::Links::kNone, 0600);
    struct stat status {};
    // What another user has put there is no place for what was scanned.
    if (log && (::fstat(log.Get(), &status) != 0 || status.st_uid != ::geteuid())) {
        log.Reset();
    }
    return log;
}

bool IsFull(const common::FileDescriptor& log) {
    struct stat status {};
    return ::fstat(log.Get(), &status) == 0 && status.st_size >= kMaxUserLog;
}

}  // namespace

std::string FolderOfUserLog() {
    if (::geteuid() == 0) {
        return {};
    }
    const std::string state = common::UserFolder("XDG_STATE_HOME", "/.local/state");
    return state.empty() ? "" : state + "/corvane";
}

bool AppendToUserLog(std::string_view line) {
    const std::string path = FolderOfUserLog();
    std::string ignored;
    const common::FileDescriptor folder =
        path.empty() ? common::FileDescriptor()
                     : vault::OpenPrivateFolder(path, vault::Missing::kMake, ignored);
    if (!folder) {
        return false;
    }
    common::FileDescriptor log = OpenLog(folder.Get());
    if (log && IsFull(log)) {
        (void)::renameat(folder.Get(), kName, folder.Get(), kOldName);
        log = OpenLog(folder.Get());
    }
    return log && common::WriteAll(log.Get(), std::string(line) + "\n");
}

}  // namespace scanapi
