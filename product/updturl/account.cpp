#include "product/updturl/account.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace updturl {

std::optional<Account> AccountOf(const char* name) {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (::getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        return std::nullopt;
    }
    return Account{.name = name, .uid = entry.pw_uid, .gid = entry.pw_gid};
}

bool Become(const Account& account) {
    return ::initgroups(account.name.c_str(), account.gid) == 0 &&
           ::setresgid(account.gid, account.gid, account.gid) == 0 &&
           ::setresuid(account.uid, account.uid, account.uid) == 0 && ::geteuid() == account.uid;
}

}  // namespace updturl
