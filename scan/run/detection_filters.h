#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "abi/scanapi.h"

// Filters that every detection passes before it is reported, and what they know of the run. The
// functions run on the scan thread; the main window resets the state before a scan.

/// Clean files seen since the run started, -1 once a detection has been reported. The main window
/// sets it to 0 when a run starts.
extern std::atomic<std::int32_t> g_iCleanFileSeqCnt;

/// One kind of detection, as it is told apart in a run.
struct LabDetectionKind {
    std::uint16_t subClass;
    std::uint16_t detectionClass;
};

/// How many kinds a run records. With the last of them the scan turns the lab scan flag on.
inline constexpr std::int32_t kLabDetectionKinds = 10;

/// The distinct kinds of detection reported in this run, and how many there are. The main window
/// sets the count to 0 when a run starts.
extern std::atomic<std::int32_t> g_iCntLabViruses;
extern std::array<LabDetectionKind, kLabDetectionKinds> g_LabScanData;

/// 1 to report the detection, 0 to dismiss it: a macro detection that is only guessed at, or one in
/// a wizard template. With the lab scan flag in `options` everything is reported. 0 for null.
int ReportUnknownMacroVirus(const tagZQFILEINFO* info, const tagSCANAPI_OPTIONS* options);

/// 1 to report the detection, 0 to dismiss it: a weak polymorphic kind after 16 or more clean files
/// in a run that has reported nothing yet. 0 for null.
int ReportWeakPolyVirus(const tagZQFILEINFO* info);

/// Records the kind of a detection that is reported, unless it is known or ten are. The flag itself
/// is set in `options` by the file scanner, between two files.
void DecideLabScanFlag(const tagZQFILEINFO* info, tagSCANAPI_OPTIONS* options);
