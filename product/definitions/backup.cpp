#include "product/definitions/backup.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/regular_file.h"
#include "common/retrying.h"
#include "common/times.h"
#include "product/definitions/folder_names.h"
#include "product/definitions/reasons.h"
#include "product/definitions/trusted_folder.h"

namespace definitions {

namespace {

constexpr std::string_view kPrefix = "corvane-definitions-";
constexpr std::string_view kHalfMade = ".unfinished";
constexpr int kNamesTried = 100;

common::FileDescriptor OpenFolder(int parent, const std::string& name) {
    return common::FileDescriptor(common::Retrying([&] {
        return ::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }));
}

// One of ours, whatever a user has called a folder of theirs.
bool IsOurs(int parent, const std::string& name) {
    struct stat status {};
    const common::FileDescriptor folder = OpenFolder(parent, name);
    return name.starts_with(kPrefix) && folder &&
           ::fstatat(folder.Get(), kBackupMarker, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(status.st_mode);
}

bool SyncFolder(int folder) {
    return common::Retrying([&] { return ::fsync(folder); }) == 0;
}

// The marker goes last, on the disk, too: what is half removed is still known as ours.
void RemoveBackup(int parent, const std::string& name) {
    const common::FileDescriptor folder = OpenFolder(parent, name);
    for (const std::string& entry : NamesIn(folder.Get())) {
        if (entry != kBackupMarker) {
            (void)::unlinkat(folder.Get(), entry.c_str(), 0);
        }
    }
    if (SyncFolder(folder.Get())) {
        (void)::unlinkat(folder.Get(), kBackupMarker, 0);
        (void)::unlinkat(parent, name.c_str(), AT_REMOVEDIR);
    }
}

// An empty one is one whose marker never got to the disk.
void RemoveUnfinished(int parent, const std::string& name) {
    if (IsOurs(parent, name)) {
        RemoveBackup(parent, name);
    } else {
        (void)::unlinkat(parent, name.c_str(), AT_REMOVEDIR);
    }
}

// What is half removed must not pass for a backup, after a power cut either.
void Retire(int parent, const std::string& name) {
    const std::string halfGone = name + std::string(kHalfMade);
    if (common::Retrying([&] {
            return ::renameat2(parent, name.c_str(), parent, halfGone.c_str(), RENAME_NOREPLACE);
        }) == 0 &&
        SyncFolder(parent)) {
        RemoveBackup(parent, halfGone);
        // What somebody else has put into it stays where they did.
        (void)::renameat2(parent, halfGone.c_str(), parent, name.c_str(), RENAME_NOREPLACE);
    }
}

void Prune(int parent, const std::string& made) {
    std::vector<std::string> backups;
    for (const std::string& name : NamesIn(parent)) {
        if (name.starts_with(kPrefix) && name.ends_with(kHalfMade)) {
            RemoveUnfinished(parent, name);
        } else if (name != made && IsOurs(parent, name)) {
            backups.push_back(name);
        }
    }
    // The new one is the last, whatever the clock says.
    for (std::size_t i = 0; i + kBackupsKept <= backups.size(); ++i) {
        Retire(parent, backups[i]);
    }
}

std::string CopyFiles(int set, int target, const GoOn& goOn) {
    // On the disk before anything else: files without a marker could never be removed.
    if (!WriteInto(target, kBackupMarker, {}) || !SyncFolder(target)) {
        return WordsForError(errno);
    }
    for (const std::string& name : NamesIn(set)) {
        const common::FileDescriptor file =
            common::OpenRegularFileAt(set, name.c_str(), O_RDONLY, common::Links::kNoSymbolic);
        if (!file) {
            continue;
        }
        constexpr auto kAnySize = std::numeric_limits<std::uint64_t>::max();
        switch (CopyInto(target, name, file.Get(), kAnySize, goOn).result) {
            case CopyResult::kCopied:
                break;
            case CopyResult::kStopped:
                return "stopped";
            default:
                return name + ": " + WordsForError(errno);
        }
    }
    return SyncFolder(target) ? std::string() : WordsForError(errno);
}

// Gives the backup a name that is free, so that nothing is ever replaced.
std::string Publish(int parent, const std::string& halfMade, const std::string& name,
                    std::string& published) {
    for (int number = 1; number <= kNamesTried; ++number) {
        published = number == 1 ? name : name + "-" + std::to_string(number);
        if (common::Retrying([&] {
                return ::renameat2(parent, halfMade.c_str(), parent, published.c_str(),
                                   RENAME_NOREPLACE);
            }) == 0) {
            return SyncFolder(parent) ? std::string() : WordsForError(errno);
        }
        if (errno != EEXIST) {
            break;
        }
    }
    return WordsForError(errno);
}

}  // namespace

std::string BackUp(int set, const std::string& folder, std::time_t now, const GoOn& goOn) {
    std::string why;
    // The set lies two folders below the product: what is made in a set spoils it for ever.
    const common::FileDescriptor sets = OpenFolder(set, "..");
    const common::FileDescriptor product = OpenFolder(set, "../..");
    if (!sets || !product) {
        return WordsForError(errno);
    }
    const common::FileDescriptor parent =
        OpenTrustedFolder(folder, why, std::array{set, sets.Get(), product.Get()});
    if (!parent) {
        return why;
    }
    const std::string name =
        std::string(kPrefix) + common::FormatTime("%Y%m%d-%H%M%S", common::LocalTm(now));
    const std::string halfMade = name + std::string(kHalfMade);
    RemoveUnfinished(parent.Get(), halfMade);
    if (common::Retrying([&] { return ::mkdirat(parent.Get(), halfMade.c_str(), 0755); }) != 0) {
        return WordsForError(errno);
    }
    const common::FileDescriptor made = OpenFolder(parent.Get(), halfMade);
    why = CopyFiles(set, made.Get(), goOn);
    std::string published;
    if (why.empty()) {
        why = Publish(parent.Get(), halfMade, name, published);
    }
    if (!why.empty()) {
        RemoveBackup(parent.Get(), halfMade);
        return why;
    }
    Prune(parent.Get(), published);
    return {};
}

}  // namespace definitions
