#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/file_descriptor.h"
#include "product/scanwire/bounds.h"

namespace scanwire {

enum class Sent {
    kWhole,
    kNoRoom,  ///< the socket does not wait and is full; nothing was sent
    kFailed,  ///< nobody reads there any more
};

/// Sends one packet, 1 to kMaxPacket bytes, with copies of at most kMaxDescriptors descriptors.
/// Whether it waits for room is the socket's matter (O_NONBLOCK). Never raises SIGPIPE. Any thread.
Sent SendPacket(int socket, std::string_view bytes, std::span<const int> descriptors = {});

enum class Received {
    kPacket,
    kNothing,  ///< the socket does not wait and has none
    kEnd,      ///< the other side is gone
    kBroken,   ///< more bytes or descriptors than there may be, or an error
};

struct Packet {
    std::string_view bytes;                           ///< until the next is received
    std::vector<common::FileDescriptor> descriptors;  ///< close-on-exec
};

/// Receives packets of one socket, one at a time. One thread at a time.
class PacketReceiver {
public:
    PacketReceiver() : m_buffer(kMaxPacket, '\0') {}

    /// Fills `packet` when there is one, and empties it otherwise; whether it waits for one is the
    /// socket's matter. What came with a packet that is refused is closed.
    Received Receive(int socket, Packet& packet);

private:
    std::string m_buffer;
};

}  // namespace scanwire
