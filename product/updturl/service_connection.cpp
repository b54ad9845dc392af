#include "product/updturl/service_connection.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "common/text_field.h"
#include "product/updturl/account.h"

namespace updturl {
namespace {

/// Whether root or `user` listens: the credentials are of when listening began.
bool IsListenedToBy(int socket, const char* user) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return false;
    }
    const auto account = AccountOf(user);
    return peer.uid == 0 || (account && account->uid == peer.uid);
}

}  // namespace

common::FileDescriptor ConnectToService(const std::string& path, const char* user,
                                        std::string& reason) {
    common::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (!common::CopyToField(address.sun_path, path) ||
        ::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int error = errno;
        reason = std::strerror(error);
        socket.Reset();
        errno = error;
        return {};
    }
    if (!IsListenedToBy(socket.Get(), user)) {
        reason = "it is not the service that listens on " + path;
        socket.Reset();
        errno = EPERM;
        return {};
    }
    return socket;
}

}  // namespace updturl
