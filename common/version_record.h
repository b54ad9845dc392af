#pragma once

#include "abi/system_time.h"

inline constexpr char kVersionFileName[] = "scanver.cnf";

/// Reads the version record of the virus database, the first 20 bytes of "scanver.cnf" in the
/// product directory.
///
/// 1, or 0 with `info` as it was: `info` is null, there is no product directory, and the file is
/// missing, cannot be read or is shorter. Any thread.
int GetVDBInfo(tagZQVERINFO* info);
