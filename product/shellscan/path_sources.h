#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "product/shellscan/options.h"
#include "scan/run/path_filter.h"

namespace shellscan {

/// What is to be scanned.
struct PathsToScan {
    std::vector<std::string> paths;  ///< absolute
    /// What was asked for and cannot be scanned, with the reason as in errno.
    std::vector<std::pair<std::string, int>> unreachable;
};

/// Adds a path, made absolute; one that is not there, or is too long, becomes an unreachable one,
/// and one that `filter` leaves out nothing.
void AddPath(std::string_view path, const scan::PathFilter& filter, PathsToScan& paths);

/// The paths in the arguments, then those in the file of --files-from. False with the problem when
/// that cannot be read.
bool GatherPaths(const Options& options, const scan::PathFilter& filter, PathsToScan& paths,
                 std::string& problem);

/// `path` from the root, without "." and double slashes. ".." is left: what it leads to depends on
/// links.
std::string AbsolutePath(std::string_view path, std::string_view workingDirectory);

/// Reads the entries of a list in which each is ended by a NUL byte, the last one perhaps not.
/// Empty ones are left out, and of one that is longer than any path the first bytes are given and
/// the rest left out. False when reading fails, with the reason in errno.
bool ReadPathList(int fd, const std::function<void(std::string_view)>& onPath);

}  // namespace shellscan
