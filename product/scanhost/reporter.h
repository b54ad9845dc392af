#pragma once

#include <chrono>
#include <string>

#include "product/scanwire/worker_messages.h"

namespace scanhost {

/// What a worker has to say. Records are gathered, for a packet each would cost more than the scan
/// of a small file; they are sent when a packet is full, and when the last one was sent longer ago
/// than `patience`. One thread.
class Reporter {
public:
    static constexpr std::chrono::milliseconds kPatience{20};

    /// `socket` stays the caller's.
    explicit Reporter(int socket, std::chrono::milliseconds patience = kPatience)
        : m_socket(socket), m_patience(patience) {}

    void Tell(const scanwire::FromWorker& record);

    /// Sends what has been gathered.
    void Flush();

    /// Set once the engine is gone, and nothing can be told any more.
    [[nodiscard]] bool IsGone() const { return m_isGone; }

private:
    using Clock = std::chrono::steady_clock;

    int m_socket;
    std::chrono::milliseconds m_patience;
    std::string m_packet;
    Clock::time_point m_sent = Clock::now();
    bool m_isGone = false;
};

}  // namespace scanhost
