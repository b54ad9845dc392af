#include "product/scanapi/user_log.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/user_folders.h"

namespace scanapi {

namespace {

constexpr char kFolder[] = "/corvane";
constexpr mode_t kPrivateFolder = 0700;
constexpr mode_t kPrivateFile = 0600;

common::FileDescriptor OpenLog(const std::string& path) {
    common::FileDescriptor log = common::OpenRegularFile(
        path.c_str(), O_WRONLY | O_APPEND | O_CREAT, common::Links::kNone, kPrivateFile);
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

std::string PathOfUserLog() {
    if (::geteuid() == 0) {
        return {};
    }
    const std::string state = common::UserFolder("XDG_STATE_HOME", "/.local/state");
    return state.empty() ? "" : state + kFolder + "/scan.log";
}

void AppendToUserLog(std::string_view line) {
    const std::string path = PathOfUserLog();
    if (path.empty()) {
        return;
    }
    const std::string folder = std::filesystem::path(path).parent_path();
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(folder).parent_path(), ignored);
    (void)::mkdir(folder.c_str(), kPrivateFolder);
    common::FileDescriptor log = OpenLog(path);
    if (log && IsFull(log)) {
        (void)::rename(path.c_str(), (path + ".old").c_str());
        log = OpenLog(path);
    }
    if (log) {
        (void)common::WriteAll(log.Get(), std::string(line) + "\n");
    }
}

}  // namespace scanapi
