#pragma once

#include <sys/stat.h>

// What stat() says of a file at two moments. Any thread.

namespace common {

inline bool IsSameInstant(const timespec& left, const timespec& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

/// Whether both are of one file, by whichever name.
inline bool IsSameFile(const struct stat& left, const struct stat& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

/// Whether nothing shows that contents were written: by size and time.
inline bool HasSameContents(const struct stat& left, const struct stat& right) {
    return left.st_size == right.st_size && IsSameInstant(left.st_mtim, right.st_mtim);
}

/// Whether nothing shows that the file was touched at all: also the time of its state, which no
/// program can set, is the same.
inline bool IsUnchanged(const struct stat& left, const struct stat& right) {
    return HasSameContents(left, right) && IsSameInstant(left.st_ctim, right.st_ctim);
}

}  // namespace common
