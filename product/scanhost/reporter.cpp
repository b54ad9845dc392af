#include "product/scanhost/reporter.h"

#include "product/scanwire/packet.h"

namespace scanhost {

void Reporter::Tell(const scanwire::FromWorker& record) {
    if (m_packet.size() + scanwire::kMaxRecord > scanwire::kMaxPacket) {
        Flush();
    }
    scanwire::Append(m_packet, record);
    if (Clock::now() - m_sent > m_patience) {
        Flush();
    }
}

void Reporter::Flush() {
    m_sent = Clock::now();
    if (!m_packet.empty() && scanwire::SendPacket(m_socket, m_packet) != scanwire::Sent::kWhole) {
        m_isGone = true;
    }
    m_packet.clear();
}

}  // namespace scanhost
