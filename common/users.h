#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <sys/types.h>

// Any thread.

namespace common {

/// The login name of a user; none when there is no such user.
std::optional<std::string> UserName(uid_t uid);

}  // namespace common

/// 1 when the name of the real user is "root", else 0.
int IsRootPrivileges();

/// The name of the first user logged in by the login records "/var/run/utmp", cut to `size` bytes
/// with its terminator.
///
/// 1 also when nobody is logged in, with `buffer` as it was; 0 for a null buffer and when the
/// records cannot be read.
int GetLoggedInUsername(char* buffer, std::size_t size);

/// The name of the real user of a process, cut to `size` bytes with its terminator. 0, with
/// `buffer` as it was, for a process id below 1, a null buffer, no such process and no such user.
int ProcessIdToUsername(int processId, char* buffer, std::size_t size);
