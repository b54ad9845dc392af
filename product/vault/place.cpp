#include "product/vault/place.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "common/user_folders.h"

namespace vault {

namespace {

constexpr mode_t kPrivate = 0700;
constexpr int kFolderFlags = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// Who may write by an access control list shows, too: its mask stands in the group's bits.
bool IsForOthersToWrite(const struct stat& status) {
    if ((status.st_mode & S_ISVTX) != 0) {
        return false;
    }
    const bool isOwnGroup = geteuid() != 0 && status.st_gid == getegid();
    return (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && !isOwnGroup);
}

// Empty when nothing speaks against the folder.
std::string Objection(int folder) {
    struct stat status {};
    if (fstat(folder, &status) != 0) {
        return std::strerror(errno);
    }
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        return "it belongs to another user";
    }
    return IsForOthersToWrite(status) ? "others may write to it" : "";
}

bool Sync(int folder) {
    // What leads here may be open for its name only.
    const common::FileDescriptor self(openat(folder, ".", O_RDONLY | kFolderFlags));
    return self && fsync(self.Get()) == 0;
}

common::FileDescriptor OpenChild(int parent, const std::string& name, int access, Missing missing) {
    common::FileDescriptor child(openat(parent, name.c_str(), access | kFolderFlags));
    if (child || errno != ENOENT || missing == Missing::kFail) {
        return child;
    }
    if ((mkdirat(parent, name.c_str(), kPrivate) != 0 && errno != EEXIST) || !Sync(parent)) {
        return {};
    }
    child.Reset(openat(parent, name.c_str(), access | kFolderFlags));
    return child;
}

std::string_view TakeComponent(std::string_view& path) {
    path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
    const std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(name.size());
    return name;
}

common::FileDescriptor Refuse(const std::string& path, const std::string& reason, int error,
                              std::string& why) {
    why = path + ": " + reason;
    errno = error;
    return {};
}

}  // namespace

std::string PathOfVault() {
    if (geteuid() == 0) {
        return kVaultOfRoot;
    }
    const std::string data = common::UserFolder("XDG_DATA_HOME", "/.local/share");
    return data.empty() ? "" : data + "/corvane/vault";
}

common::FileDescriptor OpenPrivateFolderAt(int parent, const std::string& name, Missing missing,
                                           std::string& why) {
    common::FileDescriptor folder = OpenChild(parent, name, O_RDONLY, missing);
    if (!folder) {
        return Refuse(name, std::strerror(errno), errno, why);
    }
    struct stat status {};
    if (fstat(folder.Get(), &status) != 0 || status.st_uid != geteuid()) {
        return Refuse(name, "it belongs to another user", EPERM, why);
    }
    if ((status.st_mode & 07777U) != kPrivate && fchmod(folder.Get(), kPrivate) != 0) {
        return Refuse(name, std::strerror(errno), errno, why);
    }
    return folder;
}

common::FileDescriptor OpenPrivateFolder(const std::string& path, Missing missing,
                                         std::string& why) {
    if (!path.starts_with('/')) {
        return Refuse(path, "it is no absolute path", EINVAL, why);
    }
    common::FileDescriptor folder(open("/", O_PATH | kFolderFlags));
    std::string_view rest = path;
    std::string walked;
    std::string name(TakeComponent(rest));
    while (folder) {
        if (const std::string objection = Objection(folder.Get()); !objection.empty()) {
            return Refuse(walked.empty() ? "/" : walked, objection, EPERM, why);
        }
        walked += "/" + name;
        if (name == ".." || name.empty()) {
            return Refuse(walked, "no such path is used", EINVAL, why);
        }
        const std::string next(TakeComponent(rest));
        if (next.empty()) {
            folder = OpenPrivateFolderAt(folder.Get(), name, missing, why);
            if (!folder) {
                why.insert(0, walked, 0, walked.size() - name.size());
            }
            return folder;
        }
        folder = OpenChild(folder.Get(), name, O_PATH, missing);
        name = next;
    }
    return Refuse(walked, std::strerror(errno), errno, why);
}

}  // namespace vault
