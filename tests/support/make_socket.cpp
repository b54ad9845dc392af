// make_socket PATH: leaves a socket on the disk, for the walkers to meet.

#include <cstdio>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>

#include "common/file_descriptor.h"

int main(int argc, char* argv[]) {
    sockaddr_un address{};
    const std::string_view path = argc == 2 ? argv[1] : "";
    if (path.empty() || path.size() >= sizeof(address.sun_path)) {
        std::fputs("usage: make_socket PATH\n", stderr);
        return 2;
    }
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const common::FileDescriptor socketOwner(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (bind(socketOwner.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) !=
        0) {
        std::perror("make_socket");
        return 1;
    }
    return 0;
}
