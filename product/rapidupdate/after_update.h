#pragma once

#include "abi/updturl.h"
#include "product/rapidupdate/planner.h"

// What surrounds an update, as it does one that a person starts in the window. Main thread.

namespace rapidupdate {

/// Keeps the version of the virus database that the report calls the one before.
void RememberOldVersion();

/// Writes the update report and, when there are new definitions, has the web protection read them
/// and tells other programs. Results that the window writes no report of get none here either.
Outcome FinishUpdate(UpdaterResult result);

}  // namespace rapidupdate
