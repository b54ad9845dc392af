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

/// The user that installs definitions, and on whose behalf the service listens.
inline constexpr char kServiceUser[] = "corvane";
/// The user that downloads.
inline constexpr char kFetchUser[] = "corvane-fetch";

/// Connects to whoever listens on `path`. Not open, with why in `reason` and errno, where nobody
/// listens, where too many wait already (EAGAIN), and where neither root nor `user` listens
/// (EPERM): another user could otherwise say that the machine is up to date. Does not wait. Any
/// thread.
common::FileDescriptor ConnectToService(const std::string& path, const char* user,
                                        std::string& reason);

}  // namespace updturl
