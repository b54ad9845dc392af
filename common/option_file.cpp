#include "common/option_file.h"

#include <fcntl.h>
#include <sys/stat.h>

FileDescriptor OpenOptionFile(const char* path) {
    return FileDescriptor(open(path, O_RDWR | O_CLOEXEC | O_NOFOLLOW));
}

FileDescriptor CreateOptionFile(const char* path) {
    return FileDescriptor(open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
}

void ShareWithEveryone(const FileDescriptor& file) {
    if (file.IsOpen()) {
        fchmod(file.Get(), 0666);
    }
}
