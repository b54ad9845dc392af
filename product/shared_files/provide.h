#pragma once

#include <cstdint>
#include <sys/types.h>

#include "common/file_descriptor.h"

// Making files whole, where others may look on and lay traps. Any thread.

namespace shared_files {

/// Whose a file or folder is. The two system users exist on a machine with the package; elsewhere
/// all belongs to who runs this.
struct Owner {
    const char* user = nullptr;   ///< null: who runs this
    const char* group = nullptr;  ///< null: the user's own
};

/// A file that the product expects from installation.
struct SharedFile {
    const char* name;  ///< without a folder
    mode_t mode;
    std::int32_t minimumSize;  ///< in bytes; a shorter one is of no use and is made anew
    bool (*write)(int fd);     ///< writes the starting content; false with errno set
    Owner owner = {};
};

/// A relative link that the product expects from installation. Where one leads later is up to
/// whoever changes it.
struct SharedLink {
    const char* name;    ///< without a folder
    const char* target;  ///< from the folder on
};

/// A folder, likewise.
struct SharedFolder {
    const char* name;
    mode_t mode;
    Owner owner = {};
};

/// Who may put names into a folder.
enum class FolderOwner {
    kAdministrator,
    kEverybody,
    kUpdater,  ///< which the administrator is not to trust
};

enum class Provided {
    kSound,      ///< was there and keeps its content
    kMade,       ///< was missing
    kRepaired,   ///< was too short, or empty and closed to its users; made anew
    kTakenBack,  ///< belonged to somebody else, or was open to others; made anew
    kLeftAlone,  ///< a link, a folder or another thing that is no plain file, or just made
                 ///< by somebody else
    kFailed,  ///< see errno; what was there is as it was, or when only the folder could not be put
              ///< on the disk, made anew and perhaps lost again with the power
};

/// Sees to it that `file` is in the open `folder`. It appears there whole, on the disk, with its
/// owner and mode, or not at all, whenever the process is killed; links are never followed. Owner
/// and mode of a sound file are set in the administrator's folder only: in everybody's it may be
/// somebody's private file that was moved there. In the updater's a file with others is made anew.
Provided Provide(int folder, FolderOwner owner, const SharedFile& file);

/// Sees to it that there is a link of this name in the open `folder`, on the disk; any link will
/// do. A plain file gives way to it once the link leads to one, with nobody ever finding neither.
/// kFailed leaves what was there.
Provided ProvideLink(int folder, const SharedLink& link);

/// Opens `folder` in the open folder `parent` of `parentOwner`, made when it is missing, and sets
/// its owner and mode. It may be a link, but not in the updater's folder. Not open on failure, with
/// errno set.
common::FileDescriptor ProvideFolder(int parent, FolderOwner parentOwner,
                                     const SharedFolder& folder);

/// Removes the half-made files that a killed process left in the open `folder`; those of one that
/// is at work stay.
void RemoveLeftovers(int folder);

}  // namespace shared_files
