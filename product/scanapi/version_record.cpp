#include "product/scanapi/version_record.h"

#include <algorithm>
#include <fcntl.h>
#include <limits>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/times.h"

namespace scanapi {

namespace {

constexpr unsigned int kMinorNumbers = 100;  // the record is shown as "%u.%02u"

bool ReadVersionFile(const std::string& path, tagZQVERINFO& version) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    return file &&
           ReadFull(file.Get(), BytesOf(version)) == static_cast<std::ptrdiff_t>(sizeof(version));
}

std::uint16_t Clamped(unsigned int number) {
    return static_cast<std::uint16_t>(
        std::min<unsigned int>(number, std::numeric_limits<std::uint16_t>::max()));
}

}  // namespace

tagZQVERINFO ReadVersion(const std::string& engineDirectory,
                         const std::vector<Database>& databases) {
    tagZQVERINFO version{};
    if (ReadVersionFile(engineDirectory + "scanver.cnf", version)) {
        return version;
    }
    version = {};
    // Any numbered database tells more than the newest loose file.
    const auto newest = std::max_element(
        databases.begin(), databases.end(), [](const Database& left, const Database& right) {
            const bool leftNumbered = left.version != 0;
            const bool rightNumbered = right.version != 0;
            return leftNumbered != rightNumbered ? rightNumbered : left.built < right.built;
        });
    if (newest == databases.end()) {
        return version;
    }
    GetLocalTimeFromTM(newest->built, &version.databaseDate);
    if (newest->version != 0) {
        version.major = Clamped(newest->version / kMinorNumbers);
        version.minor = static_cast<std::uint16_t>(newest->version % kMinorNumbers);
    } else {
        version.major = version.databaseDate.year;
        version.minor = version.databaseDate.month;
    }
    return version;
}

}  // namespace scanapi
