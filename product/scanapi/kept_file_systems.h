#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <sys/types.h>

#include "product/scanapi/cached_verdict.h"

namespace scanapi {

/// The file systems on which verdicts are remembered. Any thread.
///
/// They are ext2, ext3, ext4, xfs, btrfs and f2fs: in their files no program can set the time of
/// the last change of state, every change of the contents and every new name moves it, it counts
/// nanoseconds as far as the kernel's clock does, it is on the disk, and a number of an inode is
/// not used for two files at once. They have to lie on disks that stay in the machine: what comes
/// and goes may have been changed by another one, with a clock of its own. And they must not be
/// mounted with "lazytime", which loses such times with the power. UUIDs are to be had without any
/// rights since Linux 6.0 for the first three, 6.9 for f2fs; where there is none nothing is kept.
class KeptFileSystems {
public:
    /// The one of the open file `file`, whose device stat() tells as `device`. None where verdicts
    /// are not remembered, and where the file system does not tell its UUID. Looked for anew after
    /// some seconds: what is mounted may change.
    std::optional<FileSystemId> Of(int file, dev_t device);

private:
    struct Known {
        std::int64_t until;  ///< in seconds of the machine's own clock
        std::optional<FileSystemId> id;
    };
    std::mutex m_mutex;  ///< guards what follows
    std::map<dev_t, Known> m_known;
};

/// Whether a line of "/proc/self/mountinfo" that begins with the number `mount` is in `table`, and
/// says nothing of "lazytime".
bool KeepsTimes(std::string_view table, std::string_view mount);

}  // namespace scanapi
