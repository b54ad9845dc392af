#include "product/scanapi/file_remover.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/escaped_text.h"
#include "common/file_state.h"
#include "product/scanapi/engine_log.h"
#include "product/scanapi/read_lease.h"
#include "product/signed_index/sha256.h"
#include "product/vault/free_name.h"
#include "product/vault/keep.h"

namespace scanapi {

namespace {

using common::HasSameContents;
using common::IsSameFile;
using common::IsSameInstant;

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
                           (!alsoState || IsSameInstant(named.st_ctim, file.Opened().st_ctim));
    return unchanged ? RemovalResult::Removed : RemovalResult::Changed;
}

bool MayChangeFolder(const TargetFile& file) {
    return faccessat(file.FolderDescriptor(), ".", W_OK | X_OK, AT_EACCESS) == 0;
}

// Empty when it cannot be read.
std::string DigestOf(const TargetFile& file) {
    return lseek(file.Descriptor(), 0, SEEK_SET) == 0
               ? signed_index::DigestOf(file.Descriptor(), file.Size())
                     .value_or(signed_index::FileDigest{})
                     .sha256
               : std::string();
}

// Whether what was moved aside may go: the file as it was scanned. Where no lease keeps writers
// away it still has to have this digest: that tells of those who have put size and times back.
RemovalResult CheckMoved(const TargetFile& file, const std::string& aside, const ReadLease& lease,
                         const std::string& digest) {
    struct stat moved {};
    if (fstatat(file.FolderDescriptor(), aside.c_str(), &moved, AT_SYMLINK_NOFOLLOW) != 0) {
        return RemovalResult::Gone;
    }
    auto result = CheckName(file, aside, false);
    if (result != RemovalResult::Removed) {
        return result;
    }
    if (!lease.IsHeld() && DigestOf(file) != digest) {
        return RemovalResult::Changed;
    }
    // From the move on the time of the last change of state counts again.
    struct stat now {};
    if (fstat(file.Descriptor(), &now) != 0 || !IsSameInstant(now.st_ctim, moved.st_ctim) ||
        !HasSameContents(now, file.Opened())) {
        return RemovalResult::Changed;
    }
    return lease.IsBroken() ? RemovalResult::BeingWritten : RemovalResult::Removed;
}

RemovalResult MoveAsideAndRemove(const TargetFile& file, const ReadLease& lease,
                                 const std::string& digest) {
    const int folder = file.FolderDescriptor();
    const std::string aside = UnguessableName();
    if (aside.empty() || !MoveAside(folder, file.BaseName(), aside)) {
        return RemovalResult::NotPermitted;
    }
    // Whatever took the name between the check and the move has been moved: look again.
    auto result = CheckMoved(file, aside, lease, digest);
    if (result == RemovalResult::Removed && unlinkat(folder, aside.c_str(), 0) != 0) {
        result = RemovalResult::NotPermitted;
    }
    if (result != RemovalResult::Removed &&
        !vault::MoveToFreeName(folder, aside.c_str(), file.BaseName().c_str())) {
        LogLine("(" + common::Escaped(file.Path()) + ") now bears the name " + aside);
    }
    return result;
}

}  // namespace

Removal RemoveScannedFile(const TargetFile& file, const Disposal& disposal) {
    const ReadLease lease(file.Descriptor());
    if (lease.IsRefusedByWriter()) {
        return {RemovalResult::BeingWritten};
    }
    // The file is still open, so nothing else can have come by its number.
    auto result = CheckName(file, file.BaseName(), true);
    if (result == RemovalResult::Removed && !MayChangeFolder(file)) {
        result = RemovalResult::NotPermitted;
    }
    if (result != RemovalResult::Removed) {
        return {result};
    }
    std::optional<vault::KeptItem> kept;
    std::string digest;
    if (disposal.vault.isOn) {
        std::string why;
        kept = vault::Keep(
            {file.Descriptor(), file.Opened(), file.Path(), disposal.virusName, disposal.database},
            disposal.vault, why);
        if (!kept) {
            return {RemovalResult::NotKept, {}, why};
        }
        digest = kept->sha256;
    } else if (!lease.IsHeld()) {
        digest = DigestOf(file);
    }
    // That took its time.
    result = CheckName(file, file.BaseName(), true);
    if (result == RemovalResult::Removed && lease.IsBroken()) {
        result = RemovalResult::BeingWritten;
    }
    if (result == RemovalResult::Removed) {
        result = MoveAsideAndRemove(file, lease, digest);
    }
    if (result != RemovalResult::Removed && kept) {
        vault::Discard(*kept, file.Opened().st_uid);
    }
    return {result, result == RemovalResult::Removed && kept ? kept->name : ""};
}

std::string RemovalText(const Removal& removal) {
    switch (removal.result) {
        case RemovalResult::Removed:
            return "removed";
        case RemovalResult::Changed:
            return "it changed while it was scanned";
        case RemovalResult::Gone:
            return "it is no longer there";
        case RemovalResult::Replaced:
            return "its name now belongs to another file";
        case RemovalResult::BeingWritten:
            return "somebody writes to it";
        case RemovalResult::NotKept:
            return "it could not be kept in the vault: " + removal.detail;
        case RemovalResult::NotPermitted:
            break;
    }
    return "the system does not allow it";
}

}  // namespace scanapi
