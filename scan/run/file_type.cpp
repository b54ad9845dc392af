#include "scan/run/file_type.h"

#include <sys/stat.h>

ZqFileType scan::FileTypeOfMode(mode_t mode) {
    // Bits, not the file-type field as a whole: 0x2000 is in both kinds of device.
    if ((mode & 0xA000U) == 0xA000U || (mode & 0x2000U) != 0 || (mode & 0x1000U) != 0) {
        return kTypeSkip;
    }
    return (mode & 0x4000U) != 0 ? kTypeDirectory : kTypeRegular;
}

int ZqGetFileType(const char* path) {
    struct stat status {};
    if (path == nullptr || ::lstat(path, &status) != 0) {
        return kTypeSkip;
    }
    return scan::FileTypeOfMode(status.st_mode);
}
