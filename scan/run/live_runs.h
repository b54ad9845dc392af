#pragma once

#include "common/live_objects.h"

namespace scan {

class ScanRun;

/// Makes a scan known by the context that the engine is given with its files. The scan has been
/// abandoned when this ends, so no one waits in it.
using LiveRun = common::LiveObject<ScanRun>;

/// Keeps the scan of a context from going away.
using RunInUse = common::ObjectInUse<ScanRun>;

}  // namespace scan
