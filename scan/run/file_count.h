#pragma once

#include <atomic>
#include <cstdint>

#include "scan/run/directory_walker.h"

namespace scan {

/// The progress bar's total while it is not known, and for a tree without files.
inline constexpr std::uint64_t kUnknownTotal = 200000;

/// Adds the regular files under `directory` to `total` until `stop` is set, but those that `filter`
/// leaves out, which may be null. Any thread.
WalkResult CountFiles(const char* directory, const std::atomic<bool>& stop,
                      std::atomic<std::uint64_t>& total, const PathFilter* filter = nullptr);

}  // namespace scan
