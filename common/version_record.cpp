#include "common/version_record.h"

#include <fcntl.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"

int GetVDBInfo(tagZQVERINFO* info) {
    if (info == nullptr) {
        return 0;
    }
    const auto path = common::InFoundProductDirectory(kVersionFileName);
    if (!path) {
        return 0;
    }
    const FileDescriptor file =
        common::OpenRegularFile(path->c_str(), O_RDONLY, common::Links::kFollow);
    tagZQVERINFO record{};
    if (!file || ReadFull(file.Get(), BytesOf(record)) != std::ptrdiff_t{sizeof record}) {
        return 0;
    }
    *info = record;
    return 1;
}
