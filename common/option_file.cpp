#include "common/option_file.h"

#include <fcntl.h>

#include "common/regular_file.h"

namespace common {

using common::Links;

FileDescriptor OpenOptionFile(const char* path) {
    return common::OpenRegularFile(path, O_RDWR, Links::kOnlyOfRoot);
}

FileDescriptor CreateOptionFile(const char* path) {
    return common::OpenRegularFile(path, O_RDWR | O_CREAT | O_EXCL, Links::kNone, 0600);
}

void ShareWithEveryone(const char* path) {
    (void)common::SetFileMode(path, 0666, Links::kOnlyOfRoot);
}

}  // namespace common
