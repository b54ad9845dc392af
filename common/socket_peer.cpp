#include "common/socket_peer.h"

#include "common/users.h"

std::optional<ucred> common::PeerOf(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? std::optional(peer)
                                                                            : std::nullopt;
}

bool common::IsRootOr(uid_t user, const std::string& name) {
    return user == 0 || UserName(user) == name;
}
