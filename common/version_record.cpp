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
    const FileDescriptor file =
        common::OpenRegularFile(path->c_str(), O_RDONLY, common::Links::kFollow);
    tagZQVERINFO record{};
    if (!file || ReadFull(file.Get(), BytesOf(record)) != std::ptrdiff_t{sizeof record}) {
        return false;
    }
    info = record;
    return true;
}

}  // namespace

int GetVDBInfo(tagZQVERINFO* info) {
    return info != nullptr &&
                   (ReadRecord(kInstalledVersionFile, *info) || ReadRecord(kVersionFileName, *info))
               ? 1
               : 0;
}
