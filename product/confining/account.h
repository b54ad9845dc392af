#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace confining {

/// A user of this machine.
struct Account {
    std::string name;
    uid_t uid = 0;
    gid_t gid = 0;
};

/// None with errno 0 when there is no such user, and with the reason there when the machine cannot
/// tell. Any thread.
std::optional<Account> AccountOf(const char* name);

}  // namespace confining
