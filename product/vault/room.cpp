#include "product/vault/room.h"

#include <algorithm>
#include <mutex>
#include <sys/stat.h>

#include "common/file_state.h"

namespace vault {

namespace {

constexpr std::int64_t kDay = 86'400;  // seconds

struct Remembered {
    struct stat folder {};
    Usage usage;
};

std::mutex g_mutex;
std::optional<Remembered> g_remembered;  // guarded by g_mutex

bool IsUnchanged(const struct stat& left, const struct stat& right) {
    return common::IsSameFile(left, right) && common::IsSameInstant(left.st_mtim, right.st_mtim);
}

void Add(Usage& usage, std::uint64_t bytes, std::int64_t kept) {
    usage.bytes += bytes;
    usage.oldest = std::min(usage.oldest, kept);
}

bool IsOlderThan(std::int64_t days, std::int64_t kept, std::int64_t now) {
    return kept <= now && now - kept >= days * kDay;
}

}  // namespace

Usage UsageOf(const OwnerFolder& folder) {
    struct stat now {};
    {
        const std::lock_guard lock(g_mutex);
        if (g_remembered && fstat(folder.Descriptor(), &now) == 0 &&
            IsUnchanged(now, g_remembered->folder)) {
            return g_remembered->usage;
        }
    }
    Usage usage;
    for (const ItemEntry& item : folder.Items()) {
        Add(usage, item.bytes, item.kept);
    }
    return usage;
}

void RememberUsage(const OwnerFolder& folder, const Usage& usage) {
    const std::lock_guard lock(g_mutex);
    g_remembered = Remembered{{}, usage};
    if (fstat(folder.Descriptor(), &g_remembered->folder) != 0) {
        g_remembered.reset();
    }
}

std::optional<RoomPlan> PlanRoom(const OwnerFolder& folder, const Usage& before,
                                 std::uint64_t bytes, std::int64_t now, const Settings& settings) {
    RoomPlan plan{{}, before};
    Add(plan.after, bytes, now);
    const bool isFull = plan.after.bytes > settings.bytes;
    if (!isFull && !IsOlderThan(settings.days, before.oldest, now)) {
        return plan;
    }
    if (!IsOlderThan(kYoungDays, before.oldest, now)) {
        return std::nullopt;
    }
    std::uint64_t used = plan.after.bytes;
    plan.after = {};
    Add(plan.after, bytes, now);
    for (const ItemEntry& item : folder.Items()) {
        if (IsOlderThan(settings.days, item.kept, now) ||
            (used > settings.bytes && IsOlderThan(kYoungDays, item.kept, now))) {
            plan.toRemove.push_back(item.name);
            used -= std::min(used, item.bytes);
        } else {
            Add(plan.after, item.bytes, item.kept);
        }
    }
    return plan.after.bytes <= settings.bytes ? std::optional(plan) : std::nullopt;
}

}  // namespace vault
