#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace updturl {

/// A user of this machine.
struct Account {
    std::string name;
    uid_t uid = 0;
    gid_t gid = 0;
};

/// None when there is no such user. Any thread.
std::optional<Account> AccountOf(const char* name);

/// Makes the process that user for good, with the groups it is in. For root, and a process of one
/// thread. False when it could not, with the process perhaps half changed: it must end.
bool Become(const Account& account);

}  // namespace updturl
