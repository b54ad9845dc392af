#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "product/scanning/library_scan.h"
#include "product/scanning/scan_profile.h"
#include "product/scanwire/bounds.h"

namespace scanwire {

// The socket between the engine and one worker, a SOCK_SEQPACKET. Everything here is for any
// thread.

// From the engine to a worker: one message a packet.

/// The first packet. Two descriptors come with it: a memory file of `size` bytes, which the worker
/// maps to read files' bytes from, and one of kHandSize bytes, in which it says what is at hand.
struct Region {
    std::uint64_t size = 0;  ///< in bytes, 1 to kMaxRegion
    bool operator==(const Region&) const = default;
};

/// One file of a batch.
struct Item {
    std::uint32_t id = 0;      ///< never 0, and no other's in the batch
    std::uint64_t offset = 0;  ///< of its bytes in the region; 0 for one read by descriptor
    std::uint64_t size = 0;    ///< in bytes
    bool byDescriptor = false;
    std::string baseName{};
    bool operator==(const Item&) const = default;
};

/// Files to scan, one after the other. A descriptor comes with the packet for each that is read by
/// descriptor, in their order.
struct Batch {
    scanning::ScanProfile profile;
    std::vector<Item> items;  ///< 1 to kMaxItems
    bool operator==(const Batch&) const = default;
};

using ToWorker = std::variant<Region, Batch>;

// From a worker to the engine: a packet holds one record or more.

/// A named member of the file is about to be scanned.
struct Member {
    std::uint32_t id = 0;
    std::string name{};  ///< "member/inner member", never empty
    bool operator==(const Member&) const = default;
};

/// The scan of the file is over.
struct FileVerdict {
    std::uint32_t id = 0;
    scanning::ScanOutcome outcome{};  ///< Clean, Infected, Unreadable or PassedOver
    bool operator==(const FileVerdict&) const = default;
};

using FromWorker = std::variant<Member, FileVerdict>;

/// The packet that says `message`. Names are cut to what the reader takes.
std::string Written(const ToWorker& message);

/// No record is longer, in bytes.
inline constexpr std::size_t kMaxRecord = 16 + kMaxMemberName + kMaxVirusName + kMaxReason;

/// Appends a record to a packet. Names are cut to what the reader takes,
/// and bytes of a reason that are not printable ASCII become "?".
void Append(std::string& packet, const FromWorker& record);

/// What a packet says; nothing when it is not as the writer makes it.
std::optional<ToWorker> ReadToWorker(std::string_view packet);

/// All records of a packet, in their order; nothing when there is none or anything is wrong with
/// any of them.
std::optional<std::vector<FromWorker>> ReadFromWorker(std::string_view packet);

/// How many items of a batch are read by descriptor.
std::size_t DescriptorsOf(const Batch& batch);

}  // namespace scanwire
