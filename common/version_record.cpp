#include "common/version_record.h"

#include <fcntl.h>
#include <string>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/paths.h"

int GetVDBInfo(tagZQVERINFO* info) {
    char directory[sizeof kProductDirectory];
    if (info == nullptr || GetZqPath(directory, sizeof directory) == 0) {
        return 0;
    }
    const std::string path = std::string(directory) + kVersionFileName;
    // A FIFO in its place must not keep anybody waiting.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    tagZQVERINFO record{};
    if (!file || ReadFull(file.Get(), BytesOf(record)) != std::ptrdiff_t{sizeof record}) {
        return 0;
    }
    *info = record;
    return 1;
}
