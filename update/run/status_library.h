#pragma once

#include "abi/scansts.h"

namespace update {

/// Tells other programs what has changed, through the library "scansts.so" in the product
/// directory, which is loaded for this one call. False when it or its entry point is missing, which
/// is no error: nobody is there to be told. What it throws is logged, and it counts as told. Any
/// thread.
bool NotifyStatusChange(StatusChange change);

}  // namespace update
