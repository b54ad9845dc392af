#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "product/vault/owner_folder.h"
#include "product/vault/settings.h"

// The room that the items of one owner take. All of this needs the folder's lock; any thread.

namespace vault {

struct Usage {
    std::uint64_t bytes = 0;                                         ///< of all items, on the disk
    std::int64_t oldest = std::numeric_limits<std::int64_t>::max();  ///< when it was kept
};

/// What is in the folder: as it was left, when nothing in it has changed since RememberUsage(). Who
/// owns many files could otherwise make each deletion of one wait for a look at all kept before.
Usage UsageOf(const OwnerFolder& folder);

/// Notes what is in the folder, the last one that was used.
void RememberUsage(const OwnerFolder& folder, const Usage& usage);

struct RoomPlan {
    std::vector<std::string> toRemove;  ///< names of items, the oldest first
    Usage after;                        ///< with the new one
};

/// What has to go from a folder that holds `before` for another item to come at `now` that takes
/// `bytes`: all that is over its days, and of the rest the oldest as long as they are not young.
/// None where that does not make enough room.
std::optional<RoomPlan> PlanRoom(const OwnerFolder& folder, const Usage& before,
                                 std::uint64_t bytes, std::int64_t now, const Settings& settings);

}  // namespace vault
