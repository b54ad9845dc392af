#include "product/scanapi/file_remover.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace scanapi {

namespace {

bool SameInstant(const timespec& left, const timespec& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

bool IsSameFile(const struct stat& left, const struct stat& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

// The time of the last change of state is left out: a new name or mode makes no other file.
bool HasSameContents(const struct stat& left, const struct stat& right) {
    return left.st_size == right.st_size && SameInstant(left.st_mtim, right.st_mtim);
}

std::string UnguessableName() {
    std::array<unsigned char, 16> random{};
    if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
        return {};
    }
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string name = ".corvane-";
    for (const unsigned char byte : random) {
        name += kDigits[byte >> 4U];
        name += kDigits[byte & 0xFU];
    }
    return name;
}

// Moving a name never replaces another one.
bool Move(int folder, const std::string& from, const std::string& to) {
    if (renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    // A file system without that kind of move: a second name refuses to replace as well.
    return linkat(folder, from.c_str(), folder, to.c_str(), 0) == 0 &&
           unlinkat(folder, from.c_str(), 0) == 0;
}

RemovalResult CheckName(const TargetFile& file, const std::string& name) {
    struct stat named {};
    if (fstatat(file.FolderDescriptor(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT ? RemovalResult::Replaced : RemovalResult::NotPermitted;
    }
    if (!IsSameFile(named, file.Opened())) {
        return RemovalResult::Replaced;
    }
    return HasSameContents(named, file.Opened()) ? RemovalResult::Removed : RemovalResult::Changed;
}

}  // namespace

RemovalResult RemoveScannedFile(const TargetFile& file) {
    // The file is still open, so nothing else can have come by its number.
    const auto before = CheckName(file, file.BaseName());
    if (before != RemovalResult::Removed) {
        return before;
    }
    const std::string aside = UnguessableName();
    if (aside.empty() || !Move(file.FolderDescriptor(), file.BaseName(), aside)) {
        return RemovalResult::NotPermitted;
    }
    // Whatever took the name between the check and the move has been moved: look again.
    auto result = CheckName(file, aside);
    if (result == RemovalResult::Removed &&
        unlinkat(file.FolderDescriptor(), aside.c_str(), 0) != 0) {
        result = RemovalResult::NotPermitted;
    }
    if (result != RemovalResult::Removed) {
        Move(file.FolderDescriptor(), aside, file.BaseName());
    }
    return result;
}

const char* RemovalText(RemovalResult result) {
    switch (result) {
        case RemovalResult::Removed:
            return "removed";
        case RemovalResult::Changed:
            return "it changed while it was scanned";
        case RemovalResult::Replaced:
            return "its name now belongs to another file";
        case RemovalResult::NotPermitted:
            break;
    }
    return "the system does not allow it";
}

}  // namespace scanapi
