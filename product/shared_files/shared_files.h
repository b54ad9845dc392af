#pragma once

#include <span>

#include "product/shared_files/provide.h"

// What the product expects from installation. The starting contents are those that the program
// itself gives a file that it finds missing.

namespace shared_files {

inline constexpr char kReportsFolder[] = "reports";
inline constexpr char kDefinitionsFolder[] = "defs";

/// In the latter, what is in use before the first update: the version of the signatures that come
/// along.
inline constexpr SharedFolder kPackageFolder{"package", 0755, {"corvane"}};

/// In the program directory.
std::span<const SharedFile> ProgramFiles();

/// There too, kReportsFolder and kDefinitionsFolder among them.
std::span<const SharedFolder> ProgramFolders();

/// In its folder "reports".
std::span<const SharedFile> ReportsFiles();

/// In its folder "defs".
std::span<const SharedFile> DefinitionsFiles();

/// In kPackageFolder.
std::span<const SharedFile> PackageFiles();

/// In the folder "defs": which of its folders is in use. An update lets it lead to another one.
inline constexpr SharedLink kCurrentLink{"current", kPackageFolder.name};

/// In the program directory: the version of what is in use. Earlier releases had a file of its own.
inline constexpr SharedLink kVersionLink{"scanver.cnf", "defs/current/scanver.cnf"};

}  // namespace shared_files
