#pragma once

#include <cstdint>

#include "scan/run/scan_listener.h"

namespace scan {

struct ScanState;
class StopFlag;

/// Counts a step and writes its lines into the report, both done when this returns. The end of the
/// scan writes summary and index record, with a stop flag that is set for an interrupted scan, and
/// sets it.
///
/// Gives the new value of the counter that the step raises, 0 when it raises none. One thread at a
/// time.
std::uint32_t RecordStep(const ScanStep& step, ScanState& state, StopFlag& stop);

}  // namespace scan
