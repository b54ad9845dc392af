#pragma once

#include <span>

#include "product/shared_files/provide.h"

// What the product expects from installation. The starting contents are those that the program
// itself gives a file that it finds missing.

namespace shared_files {

inline constexpr char kReportsFolder[] = "reports";
inline constexpr char kDefinitionsFolder[] = "defs";

/// In the program directory.
std::span<const SharedFile> ProgramFiles();

/// There too, kReportsFolder and kDefinitionsFolder among them.
std::span<const SharedFolder> ProgramFolders();

/// In its folder "reports".
std::span<const SharedFile> ReportsFiles();

/// In its folder "defs".
std::span<const SharedFile> DefinitionsFiles();

}  // namespace shared_files
