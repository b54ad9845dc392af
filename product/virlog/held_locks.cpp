#include "product/virlog/held_locks.h"

#include <algorithm>
#include <ctime>
#include <iterator>

#include "common/escaped_text.h"
#include "common/times.h"
#include "common/users.h"
#include "product/virlog/output.h"
#include "reports/virus_log/log_mutex.h"

std::vector<HeldLock> FindHeldLocks() {
    std::vector<HeldLock> locks;
    for (const char* key : {virus_log::kMainFileMutex, virus_log::kRecordMutex}) {
        if (const auto state = common::FindNamedMutex(key)) {
            locks.push_back({key, *state});
        }
    }
    return locks;
}

bool IsAmong(const HeldLock& lock, const std::vector<HeldLock>& locks) {
    return std::any_of(locks.begin(), locks.end(), [&lock](const HeldLock& other) {
        return other.state.queueId == lock.state.queueId && other.state.made == lock.state.made;
    });
}

void TellOfHeldLock(const std::vector<HeldLock>& before) {
    for (const HeldLock& lock : FindHeldLocks()) {
        if (IsAmong(lock, before)) {
            Say("waiting for " + Describe(lock, std::time(nullptr)));
            return;
        }
    }
}

std::string OwnerName(uid_t owner) {
    const auto name = common::UserName(owner);
    return name ? common::Escaped(*name) : "user " + std::to_string(owner);
}

std::string AgeText(std::time_t seconds) {
    struct Unit {
        std::time_t seconds;
        const char* name;
    };
    constexpr Unit kUnits[] = {{86400, " day"}, {3600, " hour"}, {60, " minute"}, {1, " second"}};
    // A clock that was set back makes no age below nothing.
    const std::time_t age = std::max<std::time_t>(seconds, 0);
    const Unit* const unit =
        std::find_if(std::begin(kUnits), std::end(kUnits) - 1,
                     [age](const Unit& candidate) { return age >= candidate.seconds; });
    const std::time_t count = age / unit->seconds;
    return std::to_string(count) + unit->name + (count == 1 ? "" : "s");
}

std::string Describe(const HeldLock& lock, std::time_t now) {
    return "lock \"" + std::string(lock.key) + "\" (queue " + std::to_string(lock.state.queueId) +
           "), taken by " + OwnerName(lock.state.owner) + " at " +
           common::FormatTime("%Y-%m-%d %H:%M:%S", common::LocalTm(lock.state.made)) + ", " +
           AgeText(now - lock.state.made) + " ago";
}
