#include "update/run/updater_settings.h"

#include <cstddef>
#include <cstring>
#include <fcntl.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"

bool ReadUpdaterSettings(tagZQINETCONFIG& settings) {
    settings = {};
    const FileDescriptor file = common::OpenRegularFile(
        common::InProgramDirectory("zqinet.opt").c_str(), O_RDONLY, common::Links::kOnlyOfRoot);
    tagZQINETCONFIG stored{};
    if (!file || ReadFull(file.Get(), BytesOf(stored)) != std::ptrdiff_t{sizeof stored}) {
        return false;
    }
    std::memcpy(&settings, &stored, kUpdaterSettingsSize);
    return true;
}
