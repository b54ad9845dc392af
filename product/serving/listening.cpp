#include "product/serving/listening.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include "common/text_field.h"

namespace serving {

namespace {

constexpr int kBacklog = 64;

common::FileDescriptor Bind(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (!common::CopyToField(address.sun_path, path)) {
        errno = ENAMETOOLONG;
        return {};
    }
    common::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    (void)::unlink(path.c_str());
    if (socket &&
        (::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
         ::chmod(path.c_str(), 0666) != 0 || ::listen(socket.Get(), kBacklog) != 0)) {
        socket.Reset();
    }
    return socket;
}

}  // namespace

common::FileDescriptor Listen(const std::string& path) {
    if (::sd_listen_fds(1) < 1) {
        return Bind(path);
    }
    common::FileDescriptor given(SD_LISTEN_FDS_START);
    const int flags = ::fcntl(given.Get(), F_GETFL);
    if (::sd_is_socket_unix(given.Get(), SOCK_STREAM, 1, nullptr, 0) <= 0 || flags < 0 ||
        ::fcntl(given.Get(), F_SETFL, flags | O_NONBLOCK) != 0) {
        given.Reset();
        errno = ENOTSOCK;
    }
    return given;
}

}  // namespace serving
