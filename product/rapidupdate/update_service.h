#pragma once

#include <chrono>

#include "abi/updturl.h"

namespace rapidupdate {

/// A run says something several times a second; after so long without a word it is given up.
inline constexpr std::chrono::seconds kSilence{300};

/// What the service is asked for. Where exactly updates come from it knows by itself.
enum class Wish {
    kUpdate,  ///< from the addresses
    kIndex,   ///< from the folder that the options name
};

/// Asks the service at the socket `path` for an update and waits for its end; what it logs goes to
/// syslog.
///
/// kUpdaterFailed where there is no service or it is another user's (which is logged), when it says
/// nothing for `silence` and when it ends without a result; kUpdaterInterrupted at once when
/// `endDescriptor` becomes readable, which ends the run too. -1 means there is none. For one
/// thread.
UpdaterResult AskForUpdate(const char* path, Wish wish, int endDescriptor,
                           std::chrono::milliseconds silence = kSilence);

}  // namespace rapidupdate
