#pragma once

#include <span>

#include "product/shared_files/provide.h"

// What the product expects from installation. The starting contents are those that the program
// itself gives a file that it finds missing.

namespace shared_files {

inline constexpr char kReportsFolder[] = "reports";
inline constexpr char kScratchFolder[] = "tmp";

/// Everybody's reports and scratch files lie in these folders, each removable by its owner only.
inline constexpr mode_t kSharedFolderMode = 01777;

/// In the program directory.
std::span<const SharedFile> ProgramFiles();

/// In its folder "reports".
std::span<const SharedFile> ReportsFiles();

}  // namespace shared_files
