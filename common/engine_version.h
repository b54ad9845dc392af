#pragma once

#include "abi/scanapi.h"

namespace common {

/// What the loaded engine says about itself and its virus database. All zero when none is loaded
/// and when the engine throws, which the log tells. Any thread, while no engine is loaded or
/// unloaded.
tagZQVERINFO EngineVersion();

}  // namespace common
