#pragma once

#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/types.h>

// Any thread.

namespace common {

/// Who is at the other end of a connected Unix socket: the process that connected, or the one that
/// began to listen. None with the reason in errno when the system cannot tell.
std::optional<ucred> PeerOf(int socket);

/// Whether `user` is root or has the login name `name`.
bool IsRootOr(uid_t user, const std::string& name);

}  // namespace common
