#pragma once

#include <string_view>

#include "abi/scanapi.h"
#include "common/scan_settings.h"

// The scanner settings as the engine's options record. Any thread, not two on one record at once.

namespace scan {

/// Fills the whole record for the engine's start. `applicationDirectory` ends in "/". False when a
/// directory does not fit its field; a cut one would be another directory.
bool BuildEngineOptions(tagSCANAPI_OPTIONS& options, const tagSCNOPTS& settings,
                        std::string_view applicationDirectory);

/// Changes the four words that the settings decide, and nothing else.
void RefreshEngineOptions(tagSCANAPI_OPTIONS& options, const tagSCNOPTS& settings);

}  // namespace scan
