#pragma once

#include <string>

#include "common/file_descriptor.h"

namespace updturl {

/// Where the service that updates for users without rights listens.
inline constexpr char kServiceSocket[] = "/run/corvane/update.sock";

/// What such a user asks it for: an update from the source that the stored options name.
inline constexpr char kWishToUpdate[] = "update\n";
/// The same, from the folder that they name.
inline constexpr char kWishForIndex[] = "index\n";

/// Connects to the service that listens on `path`. Not open, with why in `reason`, where nobody
/// listens, and where neither root nor the user "corvane" does: another user could otherwise say
/// that the machine is up to date. Does not wait. Any thread.
FileDescriptor ConnectToService(const std::string& path, std::string& reason);

}  // namespace updturl
