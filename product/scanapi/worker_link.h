#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "common/file_descriptor.h"
#include "product/scanapi/scan_queue.h"
#include "product/scanapi/shared_memory.h"
#include "product/scanwire/bounds.h"
#include "product/scanwire/host_messages.h"
#include "product/scanwire/packet.h"
#include "product/scanwire/worker_messages.h"

namespace scanapi {

/// One worker: what it was given to scan, and what it says, of which nothing is believed that does
/// not fit. Of the pool's thread.
class WorkerLink {
public:
    /// Takes a worker over. Null when it can be given nothing: no memory, or it is gone.
    static std::unique_ptr<WorkerLink> Make(const scanwire::Worker& worker,
                                            common::FileDescriptor socket);

    /// What is unfinished even now is finished as unreadable.
    ~WorkerLink();
    WorkerLink(const WorkerLink&) = delete;
    WorkerLink& operator=(const WorkerLink&) = delete;

    [[nodiscard]] int Socket() const { return m_socket.Get(); }
    [[nodiscard]] const scanwire::Worker& Which() const { return m_worker; }

    [[nodiscard]] std::size_t BatchesUnderWay() const { return m_batches.size(); }
    /// It scans one batch and has the next at hand; no more.
    [[nodiscard]] bool CanTake() const { return m_batches.size() < scanwire::kSlots; }

    /// Reads the files and gives them to the worker. A file that cannot be read is finished as
    /// unreadable. False when the worker takes nothing any more; the scans are then among what
    /// TakeUnfinished() gives.
    [[nodiscard]] bool Give(Scans scans);

    enum class Heard {
        kAll,       ///< everything it has said so far
        kSome,      ///< there may be more
        kEnd,       ///< that, and it will say no more
        kNonsense,  ///< something that no worker says
    };
    Heard Listen();

    /// Whether a scan is under way that is to be broken off.
    [[nodiscard]] bool HasOneToBreakOff() const;

    /// Whoever wants to write to a file that it reads need not wait for that.
    void LetWritersPass() const;

    /// Whether it has computed for longer than `limit` since it was given something to do or last
    /// finished a file. What else the machine does does not count.
    [[nodiscard]] bool TookTooLong(std::chrono::milliseconds limit) const;

    /// The scans that are not finished, in their order, for another worker. Those that were given
    /// up are finished as stopped.
    Scans TakeUnfinished();

    /// Whether it computed nothing at all for as long as `limit` while something was under way.
    [[nodiscard]] bool StoodStill(std::chrono::milliseconds limit);

    /// Whether it has scanned a file to its end.
    [[nodiscard]] bool HasFinishedAny() const { return m_hasFinishedAny; }

    /// Finishes the scan at hand as unreadable: it ended the worker. False when the worker had
    /// begun with none: then no file is to blame, unless that happens again and again with the same
    /// one.
    bool BlameTheOneAtHand(std::string_view reason);

private:
    struct UnderWay {
        std::uint32_t id = 0;
        std::shared_ptr<PendingScan> scan;
    };
    struct Batch {
        std::size_t slot = 0;
        std::deque<UnderWay> items;  ///< unfinished
    };
    /// Where an unfinished scan stands.
    struct Place {
        std::deque<Batch>::iterator batch;
        std::deque<UnderWay>::iterator item;
    };

    WorkerLink(const scanwire::Worker& worker, common::FileDescriptor socket, SharedMemory region,
               SharedMemory hand);

    [[nodiscard]] std::size_t FreeSlot() const;
    bool Load(PendingScan& scan, scanwire::Item& item, std::size_t& end) const;
    bool Take(scanwire::FromWorker record);
    bool TakeVerdict(scanwire::FileVerdict verdict);
    [[nodiscard]] std::optional<Place> Find(std::uint32_t id);
    std::shared_ptr<PendingScan> TakeOut(const Place& place);
    [[nodiscard]] std::chrono::nanoseconds Computed() const;

    const scanwire::Worker m_worker;
    common::FileDescriptor m_socket;
    SharedMemory m_region;
    SharedMemory m_hand;
    scanwire::PacketReceiver m_receiver;
    std::deque<Batch> m_batches;  ///< the first is the one that is scanned
    std::uint32_t m_lastId = 0;
    std::chrono::nanoseconds m_computedBefore{0};
    bool m_finishedOne = false;  ///< since m_computedBefore was set
    bool m_hasFinishedAny = false;
    std::chrono::nanoseconds m_computedAtLook{-1};
    std::chrono::steady_clock::time_point
        m_movedAt;  ///< when it was first seen to have computed that much
};

}  // namespace scanapi
