#pragma once

#include <spawn.h>
#include <sys/types.h>
#include <vector>

namespace common {

/// A descriptor of ours and the number under which the started program gets it.
struct GivenDescriptor {
    int ours;
    int theirs;
};

enum class Session {
    kShared,
    kOwn,  ///< without a terminal that could end or stop it; it leads a process group of its own,
           ///< too
};

/// How a program is started that is to get nothing of ours but what it is given: of the standard
/// descriptors those that it is not given lead nowhere, all above the highest given one are closed,
/// it starts in the root folder, and every signal has its default effect and is let through.
class CleanSpawn {
public:
    /// The descriptors are put in their places in this order.
    CleanSpawn(const std::vector<GivenDescriptor>& descriptors, Session session);
    ~CleanSpawn();
    CleanSpawn(const CleanSpawn&) = delete;
    CleanSpawn& operator=(const CleanSpawn&) = delete;

    /// As posix_spawn(): 0 or an error number. Allocates nothing and locks nothing. Any thread.
    int Start(pid_t& pid, const char* path, char* const* words, char* const* environment) const;

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

}  // namespace common
