#include "product/mirror/sources.h"

#include <algorithm>
#include <cerrno>
#include <clamav.h>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>

#include "common/owners.h"
#include "common/paths.h"
#include "product/signed_index/index.h"

namespace {

constexpr char kSystemDatabases[] = "/var/lib/clamav";

struct HeaderFree {
    void operator()(cl_cvd* header) const { cl_cvdfree(header); }
};

bool IsContainer(std::string_view name) {
    return name.ends_with(".cvd") || name.ends_with(".cld");
}

std::string_view StemOf(std::string_view name) {
    return name.substr(0, name.rfind('.'));
}

std::uint32_t VersionOf(const SourceDatabase& database) {
    if (!IsContainer(database.name)) {
        return 0;
    }
    const std::unique_ptr<cl_cvd, HeaderFree> header(cl_cvdhead(database.path.c_str()));
    return header == nullptr ? 0 : header->version;
}

bool IsRegularFile(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool AddFolder(const std::string& folder, bool containersOnly,
               std::vector<SourceDatabase>& databases) {
    const common::DirectoryStream stream(::opendir(folder.c_str()));
    if (stream == nullptr) {
        return false;
    }
    std::vector<SourceDatabase> found;
    while (const dirent* entry = ::readdir(stream.get())) {
        SourceDatabase database{entry->d_name, folder + "/" + entry->d_name, 0};
        const bool isWanted =
            signed_index::CheckFileName(database.name) == signed_index::Refusal::kNone &&
            (!containersOnly || IsContainer(database.name)) && IsRegularFile(database.path);
        const bool isKnown =
            std::any_of(databases.begin(), databases.end(),
                        [&](const SourceDatabase& known) { return known.name == database.name; });
        if (isWanted && !isKnown) {
            database.version = VersionOf(database);
            found.push_back(std::move(database));
        }
    }
    databases.insert(databases.end(), found.begin(), found.end());
    return true;
}

// "daily.cvd" and "daily.cld" are the same database at two ages.
void KeepNewest(std::vector<SourceDatabase>& databases) {
    const auto isOlder = [&databases](const SourceDatabase& database) {
        return IsContainer(database.name) &&
               std::any_of(databases.begin(), databases.end(), [&](const SourceDatabase& other) {
                   return IsContainer(other.name) && other.name != database.name &&
                          StemOf(other.name) == StemOf(database.name) &&
                          (other.version > database.version ||
                           (other.version == database.version && other.name < database.name));
               });
    };
    std::vector<SourceDatabase> newest;
    std::copy_if(databases.begin(), databases.end(), std::back_inserter(newest),
                 [&isOlder](const SourceDatabase& database) { return !isOlder(database); });
    std::sort(newest.begin(), newest.end(),
              [](const auto& left, const auto& right) { return left.name < right.name; });
    databases = std::move(newest);
}

}  // namespace

std::vector<SourceDatabase> DatabasesOfThisMachine() {
    std::vector<SourceDatabase> databases;
    // Either may be missing.
    (void)AddFolder(common::InProductDirectory("defs/current"), false, databases);
    (void)AddFolder(kSystemDatabases, true, databases);
    KeepNewest(databases);
    return databases;
}

bool DatabasesIn(const std::vector<std::string>& folders, std::vector<SourceDatabase>& databases,
                 std::string& problem) {
    for (const std::string& folder : folders) {
        if (!AddFolder(folder, false, databases)) {
            problem = folder + ": " + std::strerror(errno);
            return false;
        }
    }
    KeepNewest(databases);
    return true;
}
