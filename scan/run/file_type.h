#pragma once

#include <sys/types.h>

/// What the scan does with an entry of a directory.
enum ZqFileType : int {
    kTypeSkip = 0,
    kTypeRegular = 1,
    kTypeDirectory = 2,
};

namespace scan {

/// The type by the bits of a file mode: links, devices and FIFOs are skipped. A socket has a
/// directory's bit and so tests as one; it then fails to open as a directory.
ZqFileType FileTypeOfMode(mode_t mode);

}  // namespace scan

/// The type of what is at `path`, without following a link there: 0 skip, 1 regular file, 2
/// directory; 0, too, when that cannot be told. Any thread.
int ZqGetFileType(const char* path);
