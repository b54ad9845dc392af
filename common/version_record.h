#pragma once

#include "abi/system_time.h"

namespace common {

/// In the product directory a link to that of the definitions in use: only root can change anything
/// there, and updates do not run as root.
inline constexpr char kVersionFileName[] = "scanver.cnf";

}  // namespace common

/// Reads the version record of the virus database, the first 20 bytes of "scanver.cnf" in the
/// product directory.
///
/// 1, or 0 with `info` as it was: `info` is null, there is no product directory, or the file is
/// missing, cannot be read or is too short. Any thread.
int GetVDBInfo(tagZQVERINFO* info);
