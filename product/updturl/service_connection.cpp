#include "product/updturl/service_connection.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include "common/text_field.h"

namespace updturl {
namespace {

constexpr char kServiceUser[] = "corvane";

std::optional<uid_t> UserNumber(const char* name) {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (::getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        return std::nullopt;
    }
    return entry.pw_uid;
}

/// Whether root or the service's user listens: the credentials are of when listening began.
bool IsOfTheService(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
        return false;
    }
    return peer.uid == 0 || UserNumber(kServiceUser) == peer.uid;
}

}  // namespace

FileDescriptor ConnectToService(const std::string& path, std::string& reason) {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (!CopyToField(address.sun_path, path) ||
        ::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        reason = std::strerror(errno);
        return {};
    }
    if (!IsOfTheService(socket.Get())) {
        reason = "it is not the service that listens on " + path;
        return {};
    }
    return socket;
}

}  // namespace updturl
