#include "product/scanapi/file_remover.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/log.h"

namespace scanapi {

namespace {

bool SameInstant(const timespec& left, const timespec& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

bool IsSameFile(const struct stat& left, const struct stat& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

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

bool KnowsNoReplace(int error) {
    return error != EINVAL && error != ENOSYS;
}

// To a name that nobody can foresee, so that there is nothing to replace.
bool MoveAside(int folder, const std::string& from, const std::string& to) {
    return renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0 ||
           (!KnowsNoReplace(errno) && renameat(folder, from.c_str(), folder, to.c_str()) == 0);
}

// Back to its old name, unless somebody has taken that meanwhile: then it keeps the new one.
bool MoveBack(int folder, const std::string& from, const std::string& to) {
    return renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0 ||
           (!KnowsNoReplace(errno) && linkat(folder, from.c_str(), folder, to.c_str(), 0) == 0 &&
            unlinkat(folder, from.c_str(), 0) == 0);
}

RemovalResult CheckName(const TargetFile& file, const std::string& name, bool alsoState) {
    struct stat named {};
    if (fstatat(file.FolderDescriptor(), name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT ? RemovalResult::Gone : RemovalResult::NotPermitted;
    }
    if (!IsSameFile(named, file.Opened())) {
        return RemovalResult::Replaced;
    }
    // The time of the last change of state cannot be set back, but our own move changes it too.
    const bool unchanged = HasSameContents(named, file.Opened()) &&
                           (!alsoState || SameInstant(named.st_ctim, file.Opened().st_ctim));
    return unchanged ? RemovalResult::Removed : RemovalResult::Changed;
}

}  // namespace

RemovalResult RemoveScannedFile(const TargetFile& file) {
    // The file is still open, so nothing else can have come by its number.
    const auto before = CheckName(file, file.BaseName(), true);
    if (before != RemovalResult::Removed) {
        return before;
    }
    const int folder = file.FolderDescriptor();
    const std::string aside = UnguessableName();
    if (aside.empty() || !MoveAside(folder, file.BaseName(), aside)) {
        return RemovalResult::NotPermitted;
    }
    // Whatever took the name between the check and the move has been moved: look again.
    auto result = CheckName(file, aside, false);
    if (result == RemovalResult::Removed && unlinkat(folder, aside.c_str(), 0) != 0) {
        result = RemovalResult::NotPermitted;
    }
    if (result != RemovalResult::Removed && !MoveBack(folder, aside, file.BaseName())) {
        const std::string line = "scanapi: (" + file.Path() + ") now bears the name " + aside;
        WriteToLog(common::kCommonLog, line.c_str());
    }
    return result;
}

const char* RemovalText(RemovalResult result) {
    switch (result) {
        case RemovalResult::Removed:
            return "removed";
        case RemovalResult::Changed:
            return "it changed while it was scanned";
        case RemovalResult::Gone:
            return "it is no longer there";
        case RemovalResult::Replaced:
            return "its name now belongs to another file";
        case RemovalResult::NotPermitted:
            break;
    }
    return "the system does not allow it";
}

}  // namespace scanapi
