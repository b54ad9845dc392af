#pragma once

#include <cstdint>
#include <string>

#include "common/file_descriptor.h"

namespace confining {

// Rights that are younger than the headers this is built with.
inline constexpr std::uint64_t kTruncateRight = 1ULL << 14U;     ///< version 3
inline constexpr std::uint64_t kDeviceIoctlRight = 1ULL << 15U;  ///< version 5

/// What a process is denied but for what is allowed to it. Parts that this kernel does not know are
/// left out.
struct Denied {
    std::uint64_t files = 0;  ///< LANDLOCK_ACCESS_FS_... and the rights above
    bool network = false;     ///< to bind and to connect TCP sockets
    bool others = false;      ///< abstract sockets of other processes, and signals to them
};

/// Rules of the kernel's Landlock, which a process and all it starts keep for good. For one thread.
class Landlock {
public:
    /// What the kernel knows of it; 0 or less where it has none.
    static long Version();

    /// Nothing is there with a kernel that knows less than `leastVersion`.
    explicit Landlock(const Denied& denied, long leastVersion = 1);

    [[nodiscard]] bool IsThere() const { return m_fd.IsOpen(); }

    /// Allows a file, or all that lies below a folder. What is not there needs no rule.
    void Allow(const std::string& path, std::uint64_t access);
    /// `target` is open, if only with O_PATH.
    void Allow(int target, std::uint64_t access);

    /// Puts the rules into force. False with errno when that or one of the rules before failed.
    bool Enforce();

private:
    std::uint64_t m_handled = 0;
    common::FileDescriptor m_fd;
    int m_error = 0;
};

}  // namespace confining
