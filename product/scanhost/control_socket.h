#pragma once

#include <optional>
#include <string>
#include <vector>

#include "product/scanwire/host_messages.h"
#include "product/scanwire/packet.h"

namespace scanhost {

/// What the engine wants to have loaded.
struct LoadWish {
    std::vector<std::string> databases;  ///< their paths, in the order of loading
    scanwire::Load load;
};

/// The host's end of the control socket, which waits. One thread.
class ControlSocket {
public:
    /// `socket` stays the caller's.
    explicit ControlSocket(int socket) : m_socket(socket) {}

    /// Waits for the databases and the word to load them. Nothing when the engine is gone or says
    /// anything else.
    std::optional<LoadWish> ReceiveWish();

    /// Waits for the next wish for another worker; nothing as above.
    std::optional<scanwire::Replace> ReceiveReplace();

    /// False when the engine is gone. `descriptor` (-1: none) goes with the message.
    bool Tell(const scanwire::FromHost& message, int descriptor = -1) const;

    [[nodiscard]] int Descriptor() const { return m_socket; }

private:
    std::optional<scanwire::ToHost> Receive();

    int m_socket;
    scanwire::PacketReceiver m_receiver;
};

}  // namespace scanhost
