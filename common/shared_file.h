#pragma once

#include <sys/types.h>

#include "common/file_descriptor.h"

namespace common {

/// Opens, or creates with `mode` whatever the umask, a file under a name that others can foresee in
/// a folder that others can write to, as a lock or a log in "/tmp" is.
///
/// `flags` is the access mode and at most O_APPEND; an existing file is never truncated. Opens
/// nothing that somebody could have laid there to be hit by accident: no symbolic link, no further
/// name of another file, no FIFO or device (and it does not wait on one). Existing files are opened
/// without O_CREAT, because in such folders the kernel refuses that to all but the file's owner.
///
/// Not open on failure, with the reason in errno. Any thread.
FileDescriptor OpenSharedFile(const char* path, int flags, mode_t mode);

}  // namespace common
