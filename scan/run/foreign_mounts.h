#pragma once

#include <set>
#include <string>
#include <string_view>

#include "scan/run/path_filter.h"

namespace scan {

/// Leaves out of a scan of the whole computer what are no files of its own: the folders where file
/// systems of the kernel's state, of a network or of another program are mounted, and those where
/// a file system is mounted once more. What lies in memory (tmpfs) is scanned.
class ForeignMounts : public PathFilter {
public:
    /// By what the kernel says now. Where it says nothing, "/dev", "/proc" and "/sys" are left out.
    ForeignMounts();

    /// By the bytes of "/proc/self/mountinfo" and "/proc/filesystems" (see proc(5)).
    ForeignMounts(std::string_view mounts, std::string_view kinds);

    [[nodiscard]] bool LeavesOut(const char* path) const override;

private:
    std::set<std::string, std::less<>> m_folders;
};

}  // namespace scan
