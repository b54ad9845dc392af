#pragma once

#include "abi/system_time.h"

namespace common {

inline constexpr char kVersionFileName[] = "scanver.cnf";

/// The same of the definitions that an update has put into use, below the product directory. Only
/// root can change the file above, and updates do not run as root.
inline constexpr char kInstalledVersionFile[] = "defs/current/scanver.cnf";

}  // namespace common

/// Reads the version record of the virus database, the first 20 bytes of the installed definitions'
/// own, or without such of "scanver.cnf" in the product directory.
///
/// 1, or 0 with `info` as it was: `info` is null, there is no product directory, and neither file
/// is there, can be read and is long enough. Any thread.
int GetVDBInfo(tagZQVERINFO* info);
