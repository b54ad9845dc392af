#include "common/user_folders.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace common {

namespace {

std::string AbsolutePathIn(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value == '/' ? value : "";
}

std::string HomeOfRecord() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    const bool isKnown = getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
                         found != nullptr && entry.pw_dir != nullptr && *entry.pw_dir == '/';
    return isKnown ? entry.pw_dir : "";
}

}  // namespace

std::string UserFolder(const char* variable, std::string_view belowHome) {
    std::string folder = AbsolutePathIn(variable);
    if (folder.empty()) {
        std::string home = AbsolutePathIn("HOME");
        home = home.empty() ? HomeOfRecord() : home;
        folder = home.empty() ? "" : home.append(belowHome);
    }
    return folder;
}

}  // namespace common
