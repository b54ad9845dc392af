#pragma once

#include "common/option_file.h"
#include "common/scan_settings.h"

// The scanner settings file: "zqscn.opt" in the application directory, three bytes. GUI thread
// only.

namespace common {

/// Fills `options` from the file, which is made with the defaults when it is missing; a short file
/// leaves the defaults in what it does not hold. True, but false for a null record.
bool LoadScanOptionsFile(tagSCNOPTS* options);

/// Reads the file over a zeroed record. Never makes the file.
FileOutcome ReadScanOptionsFile(tagSCNOPTS& options);

/// Writes the record over the start of the file. Never makes the file.
FileOutcome WriteScanOptionsFile(const tagSCNOPTS& options);

}  // namespace common
