#pragma once

#include <sys/types.h>

#include "common/file_descriptor.h"

// How every regular file under a given name is opened. Any thread.

namespace common {

/// Which links OpenRegularFile goes through.
enum class Links {
    kFollow,      ///< any: nobody but who owns the place could have laid one
    kNoSymbolic,  ///< no symbolic link in the last place
    kNone,        ///< nor a file with further names: others may have laid either
    kOnlyOfRoot,  ///< any where nobody but root can write to the folder, elsewhere none
};

/// Opens a regular file and nothing else: no FIFO keeps anybody waiting, no device is read.
///
/// `flags` is the access mode with O_CREAT (and then `mode`, less the umask), O_EXCL, O_TRUNC,
/// O_APPEND or O_NOATIME as needed. The descriptor is not inherited.
///
/// Not open on failure, with the reason in errno: EPERM for what is no regular file and for one
/// with further names, ELOOP for a link that is not followed, EINVAL for a null path. Where opening
/// fails before that can be told, the system's reason: ENXIO for a socket, for a FIFO that is to be
/// written and that nobody reads, and for a device that is not there; EISDIR for a folder that is
/// to be written.
common::FileDescriptor OpenRegularFile(const char* path, int flags, Links links, mode_t mode = 0);

/// The same of `name` in the open directory `directory`.
common::FileDescriptor OpenRegularFileAt(int directory, const char* name, int flags, Links links,
                                         mode_t mode = 0);

/// Sets the mode of a regular file that need not be open to the caller; needs "/proc". False, with
/// the reason in errno, where OpenRegularFile would refuse the file and for one of another user.
bool SetFileMode(const char* path, mode_t mode, Links links);

}  // namespace common
