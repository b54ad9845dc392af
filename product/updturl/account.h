#pragma once

#include <optional>
#include <string>

#include "product/confining/account.h"

namespace updturl {

using confining::Account;
using confining::AccountOf;

/// Whom root's part of an update is done as.
struct Accounts {
    Account installer;
    Account downloader;
};

/// Both of them; none with the reason in `why` when one cannot be had: root itself reads nothing
/// that came over a network. Any thread.
std::optional<Accounts> AccountsOfUpdate(std::string& why);

/// Makes the process that user for good, with the groups it is in. For root, and a process of one
/// thread. False when it could not, with the process perhaps half changed: it must end.
bool Become(const Account& account);

}  // namespace updturl
