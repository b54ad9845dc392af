#include "update/run/updater_settings.h"

#include <cstddef>
#include <cstring>
#include <fcntl.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"

namespace update {

bool ReadUpdaterSettings(tagZQINETCONFIG& settings) {
    settings = {};
    const common::FileDescriptor file = common::OpenRegularFile(
        common::InProgramDirectory("zqinet.opt").c_str(), O_RDONLY, common::Links::kOnlyOfRoot);
    tagZQINETCONFIG stored{};
    if (!file ||
        common::ReadFull(file.Get(), common::BytesOf(stored)) != std::ptrdiff_t{sizeof stored}) {
        return false;
    }
    std::memcpy(&settings, &stored, kUpdaterSettingsSize);
    return true;
}

}  // namespace update
