#pragma once

#include <sys/types.h>

/// What the scan does with an entry of a directory.
enum ZqFileType : int {
    kTypeSkip = 0,
    kTypeRegular = 1,
    kTypeDirectory = 2,
};

/// The type by the bits of a file mode: links, devices and FIFOs are skipped. A socket has a
/// directory's bit and so tests as one; it then fails to open as a directory.
ZqFileType FileTypeOfMode(mode_t mode);

/// The type of what `name` in the open directory `directory` (or AT_FDCWD) is, without following
/// links; kTypeSkip when that cannot be told. Any thread.
ZqFileType FileTypeAt(int directory, const char* name);

/// The same of a path: 0 skip, 1 regular file, 2 directory. Any thread.
int ZqGetFileType(const char* path);
