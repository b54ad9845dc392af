#pragma once

#include <string>
#include <vector>

#include "scan/run/path_filter.h"

namespace shellscan {

/// Leaves out what one of several globs matches, as fnmatch(3): one with a "/" the whole path,
/// another one the last name of the path. "*" matches a "/" and a dot at the beginning, too.
class GlobFilter : public scan::PathFilter {
public:
    explicit GlobFilter(std::vector<std::string> globs) : m_globs(std::move(globs)) {}

    [[nodiscard]] bool LeavesOut(const char* path) const override;

private:
    std::vector<std::string> m_globs;
};

}  // namespace shellscan
