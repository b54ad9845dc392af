#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace scanapi {

/// How large the user's log grows, in bytes. It is then renamed to the one before, of which there
/// is one.
inline constexpr std::int64_t kMaxUserLog = 1 << 20;

/// The folder of the log of a user who may not write to the common one: "corvane" in
/// XDG_STATE_HOME or in ".local/state" of the home folder. In it is "scan.log", mode 0600; the one
/// before has ".old" behind it. Empty for root and where no home folder is known. Reads the
/// environment: see getenv() about threads.
std::string FolderOfUserLog();

/// Appends `line` and a newline there, and makes the folders on the way. False when it could not.
bool AppendToUserLog(std::string_view line);

}  // namespace scanapi
