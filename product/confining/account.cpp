#include "product/confining/account.h"

#include <cerrno>
#include <pwd.h>
#include <vector>

namespace confining {

namespace {

/// The ways in which the library says that it looked everywhere and found nobody.
bool SaysNobody(int error) {
    return error == 0 || error == ENOENT || error == ESRCH;
}

}  // namespace

std::optional<Account> AccountOf(const char* name) {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    const int error = ::getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found);
    if (error != 0 || found == nullptr) {
        errno = SaysNobody(error) ? 0 : error;
        return std::nullopt;
    }
    return Account{.name = name, .uid = entry.pw_uid, .gid = entry.pw_gid};
}

}  // namespace confining
