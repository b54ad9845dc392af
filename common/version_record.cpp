#include "common/version_record.h"

#include <fcntl.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"

std::optional<tagZQVERINFO> common::ReadVersionRecord(const std::string& path) {
    const FileDescriptor file = OpenRegularFile(path.c_str(), O_RDONLY, Links::kFollow);
    tagZQVERINFO record{};
    if (!file || ReadFull(file.Get(), BytesOf(record)) != std::ptrdiff_t{sizeof record}) {
        return std::nullopt;
    }
    return record;
}

int GetVDBInfo(tagZQVERINFO* info) {
    const auto path = common::InFoundProductDirectory(common::kVersionFileName);
    const auto record = path ? common::ReadVersionRecord(*path) : std::nullopt;
    if (info == nullptr || !record) {
        return 0;
    }
    *info = *record;
    return 1;
}
