#pragma once

#include <clamav.h>
#include <cstdint>
#include <optional>
#include <vector>

#include "product/scanhost/reporter.h"
#include "product/scanhost/shared_mapping.h"
#include "product/scanwire/packet.h"
#include "product/scanwire/worker_messages.h"

namespace scanhost {

/// How a worker ends that no signal ends.
enum WorkerExit : int {
    kExitEngineGone = 0,
    kExitFailed = 3,      ///< it ran out of memory for its own work
    kExitRefused = 4,     ///< it was told what makes no sense
    kExitUnconfined = 5,  ///< it could not be confined, and has scanned nothing
};

/// Scans what the engine hands over, one file after the other. One thread.
class Worker {
public:
    /// `socket`, the worker's end, and `engine` stay the caller's. `notesRefusals` is false only
    /// where a test wants it so: see refused_calls.h.
    Worker(const cl_engine* engine, int socket, bool notesRefusals);

    /// Until the engine goes or says what makes no sense.
    WorkerExit Run();

private:
    using Descriptors = std::vector<common::FileDescriptor>;

    // False when what was said makes no sense.
    bool TakeRegion(const scanwire::Region& region, const Descriptors& descriptors);
    bool Scan(const scanwire::Batch& batch, const Descriptors& descriptors);
    [[nodiscard]] bool IsFine(const scanwire::Batch& batch, std::size_t descriptors) const;
    scanning::ScanOutcome ScanItem(const scanwire::Item& item, const scanning::ScanProfile& profile,
                                   int descriptor);
    void SetAtHand(std::uint32_t id) const;

    const cl_engine* m_engine;
    int m_socket;
    bool m_notesRefusals;
    scanwire::PacketReceiver m_receiver;
    Reporter m_reporter;
    std::optional<SharedMapping> m_region;
    std::optional<SharedMapping> m_hand;
};

}  // namespace scanhost
