#pragma once

#include <cstdint>

#include "common/file_descriptor.h"

// For a reader that wants all of the log. Any thread.

namespace virus_log {

/// The second record file: records that were added during a reset and are not merged yet.
struct WaitingRecords {
    common::FileDescriptor file;  ///< to read; not open where there is none and where it cannot be
    std::uint64_t size = 0;       ///< bytes to read; what is added later lies behind them
    int error = 0;  ///< why it cannot be opened, as in errno; 0 when it is open or missing
};

/// ZQVRGetVirusReportFile, and the second file as it was at the same moment: each record is in one
/// of the two.
bool GetVirusReportFile(unsigned short* path, WaitingRecords& waiting);

/// The second file alone, for a log whose main file is missing or empty. False when mutex "10011"
/// stays taken for 10 seconds.
bool GetWaitingRecords(WaitingRecords& waiting);

}  // namespace virus_log
