#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace scanwire {

// The control socket between the engine and its scan host: one message a packet. Everything here
// is for any thread.

/// The descriptor of the host's end of the control socket, a SOCK_SEQPACKET.
inline constexpr int kControlDescriptor = 3;

// From the engine to the host.

/// A database to load; they come in the order of loading.
struct Database {
    std::string path;
    bool operator==(const Database&) const = default;
};

/// That were all databases: load them, then start the workers.
struct Load {
    std::uint32_t workers = 1;  ///< 1 to kMaxWorkers
    std::uint32_t memoryLimitMiB =
        0;                       ///< of each worker's address space beyond the host's; 0: none
    std::string scratchBase{};   ///< the folder for scratch folders; empty: the usual ones
    std::uint32_t switches = 0;  ///< see Switches
    bool operator==(const Load&) const = default;
};

/// Kill this worker and start another in its place. Means nothing when the worker of this
/// generation is no more.
struct Replace {
    std::uint32_t worker = 0;  ///< from 0 on
    std::uint32_t generation = 0;
    bool operator==(const Replace&) const = default;
};

using ToHost = std::variant<Database, Load, Replace>;

// From the host to the engine.

/// A database that could not be loaded; the others are loaded again without it.
struct LeftOut {
    std::string path;
    std::string reason;
    bool operator==(const LeftOut&) const = default;
};

/// A line for the common log.
struct Log {
    std::string text;
    bool operator==(const Log&) const = default;
};

/// The databases are loaded; workers follow.
struct Loaded {
    std::uint64_t signatures = 0;
    bool operator==(const Loaded&) const = default;
};

/// None could be loaded, or no worker can be: the host ends.
struct NotLoaded {
    std::string reason;
    bool operator==(const NotLoaded&) const = default;
};

/// A worker was started. The engine's end of its socket comes with the packet.
struct Worker {
    std::uint32_t worker = 0;
    std::uint32_t generation = 0;  ///< from 1 on, one more for each that takes its place
    std::int32_t pid = 0;
    bool operator==(const Worker&) const = default;
};

/// A worker ended; another takes its place without being asked for.
struct Ended {
    std::uint32_t worker = 0;
    std::uint32_t generation = 0;
    std::int32_t status = 0;  ///< its exit status, or minus the signal that ended it
    bool operator==(const Ended&) const = default;
};

using FromHost = std::variant<LeftOut, Log, Loaded, NotLoaded, Worker, Ended>;

/// The packet that says `message`. Texts are cut to what the reader takes.
std::string Written(const ToHost& message);
std::string Written(const FromHost& message);

/// What a packet says; nothing when it is not as the writer makes it.
std::optional<ToHost> ReadToHost(std::string_view packet);
std::optional<FromHost> ReadFromHost(std::string_view packet);

}  // namespace scanwire
