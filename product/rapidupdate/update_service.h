#pragma once

#include <chrono>

#include "abi/updturl.h"

namespace rapidupdate {

inline constexpr char kUpdateSocket[] = "/run/corvane/update.sock";

/// A run says something several times a second; after so long without a word it is given up.
inline constexpr std::chrono::seconds kSilence{300};

/// Asks the service at the socket `path` for an update and waits for its end; what it logs goes to
/// syslog. The service knows by itself where updates come from.
///
/// kUpdaterFailed where there is no service (which is logged), when it says nothing for `silence`
/// and when it ends without a result; kUpdaterInterrupted at once when `endDescriptor` becomes
/// readable, which ends the run too. -1 means there is none. For one thread.
UpdaterResult AskForUpdate(const char* path, int endDescriptor,
                           std::chrono::milliseconds silence = kSilence);

}  // namespace rapidupdate
