#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "common/file_descriptor.h"
#include "product/scanwire/host_messages.h"
#include "product/scanwire/packet.h"
#include "product/scanwire/worker_messages.h"

/// How long a test waits for what must come.
inline constexpr std::chrono::seconds kPatience(60);

/// Whether the process runs: one that has ended and waits to be reaped does not.
bool IsRunning(pid_t pid);

/// The processes that `pid` has started, also those that have ended and were not reaped.
std::vector<pid_t> ChildrenOf(pid_t pid);

std::size_t OpenDescriptorsOf(pid_t pid);

/// The engine's end of one worker.
class WorkerClient {
public:
    WorkerClient(scanwire::Worker said, common::FileDescriptor socket);

    [[nodiscard]] const scanwire::Worker& Said() const { return m_said; }
    [[nodiscard]] int Socket() const { return m_socket.Get(); }

    /// Sends the first packet, with memory of its own.
    void SendRegion(std::uint64_t size = scanwire::kSlotSize * scanwire::kSlots);

    /// Puts `bytes` into the region at `offset`.
    void Put(std::uint64_t offset, std::string_view bytes) const;

    void Send(const scanwire::ToWorker& message, const std::vector<int>& descriptors = {}) const;

    /// The number in the page that says what is at hand.
    [[nodiscard]] std::uint32_t AtHand() const;

    /// The records of the next packet; empty when none comes in time or the worker is gone.
    std::vector<scanwire::FromWorker> NextPacket();

    /// All records up to the verdict of `id`; fewer when the worker ends or says nothing.
    std::vector<scanwire::FromWorker> RecordsUpTo(std::uint32_t id);

    /// Scans `bytes` alone; nothing when the worker does not say.
    std::optional<scanning::ScanOutcome> Scan(std::string_view bytes);

    /// The same through a descriptor.
    std::optional<scanning::ScanOutcome> Scan(int descriptor, std::uint64_t size);

    void Close() { m_socket.Reset(); }

private:
    std::optional<scanning::ScanOutcome> VerdictOf(std::uint32_t id);

    scanwire::Worker m_said;
    common::FileDescriptor m_socket;
    common::FileDescriptor m_region;
    common::FileDescriptor m_hand;
    scanwire::PacketReceiver m_receiver;
    std::uint32_t m_lastId = 0;
};

/// The engine's end of a host, which is ended with the object.
class HostClient {
public:
    HostClient();
    ~HostClient();
    HostClient(const HostClient&) = delete;
    HostClient& operator=(const HostClient&) = delete;

    [[nodiscard]] pid_t Pid() const { return m_pid; }
    [[nodiscard]] int Socket() const { return m_control.Get(); }

    void Send(const scanwire::ToHost& message) const;

    /// Wishes for these databases and `load`.
    void Load(const std::vector<std::string>& databases, const scanwire::Load& load = {}) const;

    /// The next message; nothing when none comes within `limit` or the host is gone.
    std::optional<scanwire::FromHost> Next(std::chrono::milliseconds limit = kPatience);

    /// Waits for a message of this kind, passing over lines for the log.
    template <typename Message>
    std::optional<Message> Await() {
        auto message = Next();
        while (message && std::holds_alternative<scanwire::Log>(*message)) {
            message = Next();
        }
        const auto* found = message ? std::get_if<Message>(&*message) : nullptr;
        return found != nullptr ? std::optional(*found) : std::nullopt;
    }

    /// Waits for the next worker; nothing when something else is said.
    std::optional<WorkerClient> AwaitWorker();

    void CloseControl() { m_control.Reset(); }

    /// Waits for the end of the host: its exit status, or minus the signal; nothing in time.
    std::optional<int> AwaitEnd();

private:
    common::FileDescriptor m_control;
    pid_t m_pid = -1;
    scanwire::PacketReceiver m_receiver;
    common::FileDescriptor m_workersEnd;  ///< came with the last message
};
