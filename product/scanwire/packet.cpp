#include "product/scanwire/packet.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>

#include "common/retrying.h"

namespace scanwire {

namespace {

using Control = std::array<char, CMSG_SPACE(kMaxDescriptors * sizeof(int))>;

Sent Outcome(ssize_t result, std::size_t size) {
    if (result < 0) {
        return errno == EAGAIN || errno == EWOULDBLOCK ? Sent::kNoRoom : Sent::kFailed;
    }
    return static_cast<std::size_t>(result) == size ? Sent::kWhole : Sent::kFailed;
}

// Owned before anything is judged, so that none is left open.
std::vector<common::FileDescriptor> TakeDescriptors(msghdr& message) {
    std::vector<common::FileDescriptor> taken;
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        std::array<int, kMaxDescriptors> numbers{};
        std::memcpy(numbers.data(), CMSG_DATA(part), count * sizeof(int));
        taken.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            taken.emplace_back(numbers[i]);
        }
    }
    return taken;
}

}  // namespace

Sent SendPacket(int socket, std::string_view bytes, std::span<const int> descriptors) {
    if (bytes.empty() || bytes.size() > kMaxPacket || descriptors.size() > kMaxDescriptors) {
        return Sent::kFailed;
    }
    if (descriptors.empty()) {
        return Outcome(common::Retrying([&] {
                           return ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
                       }),
                       bytes.size());
    }
    alignas(cmsghdr) Control control{};
    iovec part{const_cast<char*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = CMSG_SPACE(descriptors.size_bytes());
    cmsghdr* rights = CMSG_FIRSTHDR(&message);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(descriptors.size_bytes());
    std::memcpy(CMSG_DATA(rights), descriptors.data(), descriptors.size_bytes());
    return Outcome(common::Retrying([&] { return ::sendmsg(socket, &message, MSG_NOSIGNAL); }),
                   bytes.size());
}

Received PacketReceiver::Receive(int socket, Packet& packet) {
    packet.bytes = {};
    packet.descriptors.clear();
    alignas(cmsghdr) Control control{};
    iovec part{m_buffer.data(), m_buffer.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const auto receive = [&] {
        return common::Retrying([&] { return ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC); });
    };
    ssize_t got = receive();
    // The other side ended before it had read everything; what it said itself is still there.
    if (got < 0 && errno == ECONNRESET) {
        got = receive();
    }
    if (got < 0) {
        const bool isEmpty = errno == EAGAIN || errno == EWOULDBLOCK;
        return isEmpty ? Received::kNothing : Received::kBroken;
    }
    auto descriptors = TakeDescriptors(message);
    if (got == 0) {
        return Received::kEnd;
    }
    if ((message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0) {
        return Received::kBroken;
    }
    packet.bytes = std::string_view(m_buffer).substr(0, static_cast<std::size_t>(got));
    packet.descriptors = std::move(descriptors);
    return Received::kPacket;
}

}  // namespace scanwire
