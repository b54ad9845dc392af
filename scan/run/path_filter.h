#pragma once

namespace scan {

/// What a walk leaves out.
class PathFilter {
public:
    PathFilter() = default;
    virtual ~PathFilter() = default;
    PathFilter(const PathFilter&) = delete;
    PathFilter& operator=(const PathFilter&) = delete;

    /// Whether a file, or a directory with all that is below it, is left out. Any thread, several
    /// at once.
    [[nodiscard]] virtual bool LeavesOut(const char* path) const = 0;
};

}  // namespace scan
