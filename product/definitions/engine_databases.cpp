#include "product/definitions/engine_databases.h"

#include <algorithm>
#include <array>
#include <clamav.h>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

#include "common/io.h"
#include "common/regular_file.h"
#include "product/definitions/definition_folder.h"

namespace definitions {

namespace {

constexpr std::size_t kHeadSize = 512;

constexpr std::array<std::string_view, 3> kContainers{"cvd", "cld", "cud"};
// What must be known before the signatures that it concerns are loaded.
constexpr std::array<std::string_view, 7> kFirst{"ign", "ign2", "fp", "sfp", "crb", "ftm", "cfg"};
constexpr std::array<std::string_view, 26> kLoose{
    "db",  "hdb", "hdu", "hsb", "hsu", "ldb", "ldu", "mdb", "mdu", "msb",  "msu", "ndb",  "ndu",
    "pdb", "gdb", "wdb", "idb", "cdb", "cbc", "cat", "ioc", "imp", "pwdb", "yar", "yara", "zmd",
};

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};
struct HeaderFree {
    void operator()(cl_cvd* header) const { cl_cvdfree(header); }
};

bool IsOneOf(const auto& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string_view FileNameOf(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

std::string_view ExtensionOf(std::string_view path) {
    const auto name = FileNameOf(path);
    const auto dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

std::string_view StemOfPath(std::string_view path) {
    const auto name = FileNameOf(path);
    return name.substr(0, name.rfind('.'));
}

bool IsDatabaseName(std::string_view path) {
    const auto extension = ExtensionOf(path);
    return IsOneOf(kContainers, extension) || IsOneOf(kFirst, extension) ||
           IsOneOf(kLoose, extension);
}

// Text from its first byte on: what loose databases are made of.
bool LooksLikeText(std::string_view head) {
    return !head.empty() && head.find('\0') == std::string_view::npos;
}

bool ReadHead(Database& database) {
    const common::FileDescriptor file =
        common::OpenRegularFile(database.path.c_str(), O_RDONLY, common::Links::kFollow);
    struct stat state {};
    if (!file || fstat(file.Get(), &state) != 0) {
        return false;
    }
    database.built = state.st_mtime;
    std::array<char, kHeadSize> buffer{};
    const auto got = common::ReadFull(file.Get(), std::as_writable_bytes(std::span(buffer)));
    if (got <= 0) {
        return false;
    }
    if (!IsOneOf(kContainers, ExtensionOf(database.path))) {
        return LooksLikeText({buffer.data(), static_cast<std::size_t>(got)});
    }
    const std::unique_ptr<cl_cvd, HeaderFree> header(cl_cvdhead(database.path.c_str()));
    if (header == nullptr || state.st_size <= static_cast<off_t>(kHeadSize)) {
        return false;
    }
    database.version = header->version;
    database.built = static_cast<std::time_t>(header->stime);
    return true;
}

using NewestByStem = std::map<std::string, Database, std::less<>>;

void ListFolder(const std::string& folder, Place place, DatabaseList& list,
                NewestByStem& containers) {
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(folder.c_str()));
    if (directory == nullptr) {
        return;
    }
    while (const dirent* entry = readdir(directory.get())) {
        Database database{folder + '/' + entry->d_name, place, 0, 0};
        if (!IsDatabaseName(database.path)) {
            continue;
        }
        if (!ReadHead(database)) {
            list.damaged.push_back(std::move(database.path));
        } else if (!IsOneOf(kContainers, ExtensionOf(database.path))) {
            list.usable.push_back(std::move(database));
        } else {
            // "daily.cvd" and "daily.cld" are the same database at two ages.
            auto& newest = containers[std::string(StemOfPath(database.path))];
            if (newest.path.empty() || newest.version < database.version) {
                newest = std::move(database);
            }
        }
    }
}

// Lists of exceptions come first, then the daily database, which has some for the main one.
int RankOf(const Database& database) {
    if (IsOneOf(kFirst, ExtensionOf(database.path))) {
        return 0;
    }
    return StemOfPath(database.path) == "daily" ? 1 : 2;
}

}  // namespace

bool DatabaseList::HasSignatures() const {
    return std::any_of(usable.begin(), usable.end(), [](const Database& each) {
        return !IsOneOf(kFirst, ExtensionOf(each.path));
    });
}

std::string CurrentSet(const std::string& engineDirectory) {
    const std::string link = engineDirectory + kFolderName + '/' + kCurrentLink;
    std::array<char, 256> target{};
    const ssize_t size = readlink(link.c_str(), target.data(), target.size());
    const std::string_view name(target.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    const bool isInside = name.find('/') == std::string_view::npos && !name.starts_with('.');
    return isInside ? std::string(name) : std::string();
}

DatabaseList FindDatabases(const std::string& engineDirectory, const std::string& set) {
    DatabaseList list;
    NewestByStem containers;
    const std::string folder = engineDirectory + kFolderName;
    ListFolder(folder, kOwn, list, containers);
    if (!set.empty()) {
        ListFolder(folder + '/' + set, kOfSet, list, containers);
    }
    ListFolder(kSystemDatabaseDirectory, kOfSystem, list, containers);
    for (auto& [stem, database] : containers) {
        list.usable.push_back(std::move(database));
    }
    const auto order = [](const Database& each) {
        return std::tuple(RankOf(each), each.place, FileNameOf(each.path));
    };
    std::sort(
        list.usable.begin(), list.usable.end(),
        [&](const Database& left, const Database& right) { return order(left) < order(right); });
    std::sort(list.damaged.begin(), list.damaged.end());
    return list;
}

}  // namespace definitions
