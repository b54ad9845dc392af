#pragma once

#include <optional>
#include <string>

#include "abi/system_time.h"

namespace common {

/// In the product directory a link to that of the definitions in use: only root can change anything
/// there, and updates do not run as root.
inline constexpr char kVersionFileName[] = "scanver.cnf";

/// The version record of the virus database in the first 20 bytes of the file at `path`; none when
/// that is missing, cannot be read or is too short. Any thread.
std::optional<tagZQVERINFO> ReadVersionRecord(const std::string& path);

}  // namespace common

/// Reads the version record of the virus database, the first 20 bytes of "scanver.cnf" in the
/// product directory.
///
/// 1, or 0 with `info` as it was: `info` is null, there is no product directory, or the file is
/// missing, cannot be read or is too short. Any thread.
int GetVDBInfo(tagZQVERINFO* info);
