#include "common/version_record.h"

#include <fcntl.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"

namespace {

bool ReadRecord(const char* name, tagZQVERINFO& info) {
    const auto path = common::InFoundProductDirectory(name);
    if (!path) {
        return false;
    }
    const common::FileDescriptor file =
        common::OpenRegularFile(path->c_str(), O_RDONLY, common::Links::kFollow);
    tagZQVERINFO record{};
    if (!file ||
        common::ReadFull(file.Get(), common::BytesOf(record)) != std::ptrdiff_t{sizeof record}) {
        return false;
    }
    info = record;
    return true;
}

}  // namespace

int GetVDBInfo(tagZQVERINFO* info) {
    return info != nullptr && (ReadRecord(common::kInstalledVersionFile, *info) ||
                               ReadRecord(common::kVersionFileName, *info))
               ? 1
               : 0;
}
