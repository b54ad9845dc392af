#include "common/version_record.h"

#include <fcntl.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"

int GetVDBInfo(tagZQVERINFO* info) {
    const auto path = common::InFoundProductDirectory(common::kVersionFileName);
    if (info == nullptr || !path) {
        return 0;
    }
    const common::FileDescriptor file =
        common::OpenRegularFile(path->c_str(), O_RDONLY, common::Links::kFollow);
    tagZQVERINFO record{};
    if (!file ||
        common::ReadFull(file.Get(), common::BytesOf(record)) != std::ptrdiff_t{sizeof record}) {
        return 0;
    }
    *info = record;
    return 1;
}
