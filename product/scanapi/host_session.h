#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <vector>

#include "product/definitions/engine_databases.h"
#include "product/scanapi/host_process.h"
#include "product/scanapi/pool_settings.h"
#include "product/scanapi/scan_queue.h"
#include "product/scanapi/wakeup.h"
#include "product/scanapi/worker_link.h"
#include "product/scanwire/host_messages.h"
#include "product/scanwire/packet.h"

namespace scanapi {

/// One scan host from its start to its end: what is said to it, and its workers. Of the pool's
/// thread.
class HostSession {
public:
    /// Whom it tells, on the same thread.
    class Owner {
    public:
        virtual ~Owner() = default;
        virtual void OnLeftOut(const std::string& path, const std::string& reason) = 0;
        /// `memory` is what the host takes, in bytes.
        virtual void OnLoaded(std::uint64_t memory) = 0;
        virtual void OnNotLoaded(const std::string& reason) = 0;
        [[nodiscard]] virtual bool IsCancelled() = 0;
    };

    /// All of these must outlive the session. Waking it makes it look at what changed.
    HostSession(const PoolSettings& settings, ScanQueue& queue, const Wakeup& wakeup, Owner& owner);
    ~HostSession();
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    /// Starts a host, has it load `databases` and scans what is in the queue. Returns once the
    /// host has ended or the owner says that it is cancelled; what was under way is in the queue
    /// again then. False when no host could be started; errno tells why.
    bool Run(const std::vector<definitions::Database>& databases);

private:
    using Clock = std::chrono::steady_clock;

    /// A worker's place, which one worker after the other takes.
    struct Place {
        std::unique_ptr<WorkerLink> link;
        std::optional<Clock::time_point> silentSince;  ///< it has ended, and the host said nothing
        std::optional<Clock::time_point> emptySince;   ///< the host has not told of the next
    };

    void Wait();
    void TalkToHost();
    void Send();
    bool Hear(std::string_view bytes, std::vector<common::FileDescriptor> descriptors);
    void HearWorker(const scanwire::Worker& worker,
                    std::vector<common::FileDescriptor> descriptors);
    void HearEnded(const scanwire::Ended& ended);

    void TalkToWorkers();
    void ListenTo(Place& place);
    void AwaitEnd(Place& place);
    void AskForAnother(const scanwire::Worker& worker);
    void LookAfter();
    void GiveWork();
    WorkerLink* NextToTake();
    void Replace(Place& place, std::string_view blame);
    void LetGo(Place& place);
    void CountUseless();

    const PoolSettings& m_settings;
    ScanQueue& m_queue;
    const Wakeup& m_wakeup;
    Owner& m_owner;
    HostProcess m_process;
    scanwire::PacketReceiver m_receiver;
    std::deque<std::string> m_toHost;  ///< packets that it has not taken yet
    std::map<std::uint32_t, Place> m_places;
    std::vector<pollfd> m_polled;
    int m_uselessWorkers = 0;  ///< in a row
    bool m_ended = false;
    bool m_hasLoaded = false;
};

}  // namespace scanapi
