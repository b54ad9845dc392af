#include "product/updturl/account.h"

#include <cerrno>
#include <cstring>
#include <grp.h>
#include <unistd.h>

#include "product/updturl/service_connection.h"

namespace updturl {

namespace {

std::optional<Account> AccountOrWhyNot(const char* name, std::string& why) {
    auto account = AccountOf(name);
    if (!account) {
        why = errno == 0 ? std::string("there is no user ") + name
                         : std::string("the user ") + name +
                               " cannot be looked up: " + std::strerror(errno);
    }
    return account;
}

}  // namespace

std::optional<Accounts> AccountsOfUpdate(std::string& why) {
    const auto installer = AccountOrWhyNot(kServiceUser, why);
    if (!installer) {
        return std::nullopt;
    }
    const auto downloader = AccountOrWhyNot(kFetchUser, why);
    if (!downloader) {
        return std::nullopt;
    }
    return Accounts{.installer = *installer, .downloader = *downloader};
}

bool Become(const Account& account) {
    return ::initgroups(account.name.c_str(), account.gid) == 0 &&
           ::setresgid(account.gid, account.gid, account.gid) == 0 &&
           ::setresuid(account.uid, account.uid, account.uid) == 0 && ::geteuid() == account.uid;
}

}  // namespace updturl
