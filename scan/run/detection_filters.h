#pragma once

#include "abi/scanapi.h"

// Filters that every detection passes before it is reported. Scan thread.

/// 1 to report the detection, 0 to dismiss it: a macro detection that is only guessed at, or one in
/// a wizard template. With the lab scan flag in `options` everything is reported. 0 for null.
int ReportUnknownMacroVirus(const tagZQFILEINFO* info, const tagSCANAPI_OPTIONS* options);

/// 1 to report the detection, 0 to dismiss it: a weak polymorphic kind after 16 or more clean files
/// in a run that has reported nothing yet. 0 for null.
int ReportWeakPolyVirus(const tagZQFILEINFO* info);

/// Records the kind of a detection that is reported, unless it is known or ten are. The flag itself
/// is set in `options` by the file scanner, between two files.
void DecideLabScanFlag(const tagZQFILEINFO* info, tagSCANAPI_OPTIONS* options);
