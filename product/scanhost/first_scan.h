#pragma once

#include <clamav.h>
#include <string>

namespace scanhost {

/// Scans a harmless letter, so that what the library opens or makes at its first scan is there when
/// workers are forked, which may open nothing. Below `scratchBase` as Confinement has it, or where
/// else there is room; without any nothing is scanned. Changes the working folder while it lasts.
/// In the host, which has one thread.
void ScanOnce(const cl_engine* engine, const std::string& scratchBase);

}  // namespace scanhost
