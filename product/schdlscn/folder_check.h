#pragma once

#include <string>

#include "abi/schdlscn.h"

namespace schdlscn {

/// Why the caller of this process cannot have a folder scanned. Any thread; waits for the disk.
ScheduleError WrongWithFolder(const std::string& path);

}  // namespace schdlscn
