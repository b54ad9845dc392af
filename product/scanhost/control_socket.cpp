#include "product/scanhost/control_socket.h"

#include <utility>

namespace scanhost {

namespace {

// Far more than there are in all folders of definitions together.
constexpr std::size_t kMaxDatabases = 4096;

}  // namespace

std::optional<scanwire::ToHost> ControlSocket::Receive() {
    scanwire::Packet packet;
    if (m_receiver.Receive(m_socket, packet) != scanwire::Received::kPacket ||
        !packet.descriptors.empty()) {
        return std::nullopt;
    }
    return scanwire::ReadToHost(packet.bytes);
}

std::optional<LoadWish> ControlSocket::ReceiveWish() {
    LoadWish wish;
    while (auto message = Receive()) {
        if (auto* load = std::get_if<scanwire::Load>(&*message)) {
            wish.load = std::move(*load);
            return wish;
        }
        auto* database = std::get_if<scanwire::Database>(&*message);
        if (database == nullptr || wish.databases.size() == kMaxDatabases) {
            return std::nullopt;
        }
        wish.databases.push_back(std::move(database->path));
    }
    return std::nullopt;
}

std::optional<scanwire::Replace> ControlSocket::ReceiveReplace() {
    const auto message = Receive();
    const auto* replace = message ? std::get_if<scanwire::Replace>(&*message) : nullptr;
    return replace != nullptr ? std::optional(*replace) : std::nullopt;
}

bool ControlSocket::Tell(const scanwire::FromHost& message, int descriptor) const {
    const std::span<const int> descriptors(&descriptor, descriptor < 0 ? 0 : 1);
    return scanwire::SendPacket(m_socket, scanwire::Written(message), descriptors) ==
           scanwire::Sent::kWhole;
}

}  // namespace scanhost
