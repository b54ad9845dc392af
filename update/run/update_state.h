#pragma once

#include <cstdint>

#include "abi/updturl.h"

// What an update changes, under the names by which other code links it.

/// How the last update ended: an UpdaterResult or kUpdateResultUnknown. Written by the thread of
/// the run before it tells the end, read when that thread has been waited for.
extern std::int16_t g_siUpdateRetFlag;

/// What the updater said of its progress last; UpdateRun::LastInfo() reads it whole.
extern tagUPDATEINFO g_updFileInfo;

/// The updater's entry points, null but while a run has its library loaded. Thread of the run.
extern PFNZQUPDATEFROMSITE g_pfnZqUpdateFromSite;
extern PFNUPDATEFROMINDEX g_pfnUpdateFromIndex;

namespace update {

/// A result of the updater that is none of its own, 65535 as 16 bits.
inline constexpr std::int16_t kUpdateResultUnknown = -1;

/// The same, by names that say what it is.
struct UpdateState {
    std::int16_t& outcome = g_siUpdateRetFlag;
    tagUPDATEINFO& lastInfo = g_updFileInfo;
};

}  // namespace update
