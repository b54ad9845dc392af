#include "scan/run/file_type.h"

#include <fcntl.h>
#include <sys/stat.h>

ZqFileType FileTypeOfMode(mode_t mode) {
    // Bits, not the file-type field as a whole: 0x2000 is in both kinds of device.
    if ((mode & 0xA000U) == 0xA000U || (mode & 0x2000U) != 0 || (mode & 0x1000U) != 0) {
        return kTypeSkip;
    }
    return (mode & 0x4000U) != 0 ? kTypeDirectory : kTypeRegular;
}

ZqFileType FileTypeAt(int directory, const char* name) {
    struct stat status {};
    if (name == nullptr || fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return kTypeSkip;
    }
    return FileTypeOfMode(status.st_mode);
}

int ZqGetFileType(const char* path) {
    return FileTypeAt(AT_FDCWD, path);
}
