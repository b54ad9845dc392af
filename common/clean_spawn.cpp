#include "common/clean_spawn.h"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <unistd.h>

namespace common {

CleanSpawn::CleanSpawn(const std::vector<GivenDescriptor>& descriptors, Session session) {
    posix_spawn_file_actions_init(&m_actions);
    std::vector<bool> isGiven(STDERR_FILENO + 1);
    for (const GivenDescriptor& given : descriptors) {
        posix_spawn_file_actions_adddup2(&m_actions, given.ours, given.theirs);
        const auto number = static_cast<std::size_t>(given.theirs);
        isGiven.resize(std::max(isGiven.size(), number + 1));
        isGiven[number] = true;
    }
    const int end = static_cast<int>(isGiven.size());
    for (int number = 0; number < end; ++number) {
        if (isGiven[static_cast<std::size_t>(number)]) {
            continue;
        }
        if (number <= STDERR_FILENO) {
            posix_spawn_file_actions_addopen(&m_actions, number, "/dev/null", O_RDWR, 0);
        } else {
            posix_spawn_file_actions_addclose(&m_actions, number);
        }
    }
    posix_spawn_file_actions_addclosefrom_np(&m_actions, end);
    posix_spawn_file_actions_addchdir_np(&m_actions, "/");

    posix_spawnattr_init(&m_attributes);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&m_attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&m_attributes, &signals);
    const int own = session == Session::kOwn ? POSIX_SPAWN_SETSID : 0;
    posix_spawnattr_setflags(
        &m_attributes, static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | own));
}

CleanSpawn::~CleanSpawn() {
    posix_spawnattr_destroy(&m_attributes);
    posix_spawn_file_actions_destroy(&m_actions);
}

int CleanSpawn::Start(pid_t& pid, const char* path, char* const* words,
                      char* const* environment) const {
    return ::posix_spawn(&pid, path, &m_actions, &m_attributes, words, environment);
}

}  // namespace common
