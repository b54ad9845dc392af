#pragma once

#include <string>
#include <string_view>

namespace common {

/// Where programs of the effective user keep files of one kind: what the environment variable
/// `variable` says when that is an absolute path, else `belowHome` (as "/.cache") in the home
/// folder, that of HOME or else of the user's record. Empty where no home folder is known. Not for
/// root, whose environment may be somebody else's. Reads the environment: see getenv() about
/// threads.
std::string UserFolder(const char* variable, std::string_view belowHome);

}  // namespace common
