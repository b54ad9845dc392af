#include "common/shared_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

#include "common/regular_file.h"

namespace common {

namespace {

// How often the file may vanish and come back between two attempts before we give up.
constexpr int kMaxAttempts = 16;

}  // namespace

FileDescriptor OpenSharedFile(const char* path, int flags, mode_t mode) {
    using common::Links;
    using common::OpenRegularFile;
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        FileDescriptor file = OpenRegularFile(path, flags, Links::kNone);
        if (file || errno != ENOENT) {
            return file;
        }
        file = OpenRegularFile(path, flags | O_CREAT | O_EXCL, Links::kNone, mode);
        if (file) {
            (void)::fchmod(file.Get(), mode);  // a strict umask would keep other users out
            return file;
        }
        if (errno != EEXIST) {
            return file;
        }
    }
    return {};
}

}  // namespace common
