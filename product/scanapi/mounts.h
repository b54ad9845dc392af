#pragma once

#include <string>
#include <string_view>

namespace scanapi {

// What the kernel tells of mounts without asking any file system. Any thread.

/// The number of the mount by which `file` was opened; empty when that is not to be had.
std::string MountOf(int file);

/// "/proc/self/mountinfo".
std::string MountTable();

/// The line of a table as that one which begins with the number `mount`; empty when there is none.
std::string_view LineOfMount(std::string_view table, std::string_view mount);

}  // namespace scanapi
