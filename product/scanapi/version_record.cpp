#include "product/scanapi/version_record.h"

#include <algorithm>
#include <ctime>
#include <fcntl.h>
#include <limits>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/times.h"
#include "common/version_record.h"

namespace scanapi {

namespace {

constexpr unsigned int kMinorNumbers = 100;  // the record is shown as "%u.%02u"

bool ReadVersionFile(const std::string& path, tagZQVERINFO& version) {
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kFollow);
    return file && common::ReadFull(file.Get(), common::BytesOf(version)) ==
                       static_cast<std::ptrdiff_t>(sizeof(version));
}

// The date of a version file, which is local time.
std::time_t InstantOf(const tagZQSYSTEMTIME& date) {
    std::tm local{};
    SystemTimeToTm(&date, &local);
    return std::mktime(&local);
}

std::uint16_t Clamped(unsigned int number) {
    return static_cast<std::uint16_t>(
        std::min<unsigned int>(number, std::numeric_limits<std::uint16_t>::max()));
}

}  // namespace

tagZQVERINFO ReadVersion(const std::string& engineDirectory,
                         const std::vector<Database>& databases) {
    // Any numbered database tells more than the newest loose file.
    const auto newest = std::max_element(
        databases.begin(), databases.end(), [](const Database& left, const Database& right) {
            const bool leftNumbered = left.version != 0;
            const bool rightNumbered = right.version != 0;
            return leftNumbered != rightNumbered ? rightNumbered : left.built < right.built;
        });
    const bool isNumbered = newest != databases.end() && newest->version != 0;
    tagZQVERINFO version{};
    if (ReadVersionFile(engineDirectory + common::kVersionFileName, version) &&
        !(isNumbered && newest->built > InstantOf(version.databaseDate))) {
        return version;
    }
    version = {};
    if (newest == databases.end()) {
        return version;
    }
    GetLocalTimeFromTM(newest->built, &version.databaseDate);
    if (isNumbered) {
        version.major = Clamped(newest->version / kMinorNumbers);
        version.minor = static_cast<std::uint16_t>(newest->version % kMinorNumbers);
    } else {
        version.major = version.databaseDate.year;
        version.minor = version.databaseDate.month;
    }
    return version;
}

}  // namespace scanapi
