#pragma once

#include <cstdint>

namespace scanwire {

/// Each turns one part of the workers' confinement off. For tests only: nobody sets any otherwise.
enum Switches : std::uint32_t {
    kNoOwnUser = 1U << 0U,         ///< workers stay the user that started the host
    kNoLimits = 1U << 1U,          ///< no resource limits
    kNoLandlock = 1U << 2U,        ///< no rules about files
    kNoSyscallFilter = 1U << 3U,   ///< every system call
    kNoOwnScratch = 1U << 4U,      ///< no memory file system of the workers' own
    kNoRefusalNotes = 1U << 5U,    ///< refused calls are not noted
    kNewPrivileges = 1U << 6U,     ///< programs may give privileges to who executes them
    kKeepCapabilities = 1U << 7U,  ///< what capabilities the user has stay
    kInspectable = 1U << 8U,       ///< other processes of the user may look into workers
};

inline constexpr std::uint32_t kAllSwitches = (1U << 9U) - 1;

}  // namespace scanwire
