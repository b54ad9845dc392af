#pragma once

/// Appends the records of `from` to those of `into`, stores where they lie in "RecOffset.dat" and
/// removes `from`; both names are inside "reports/". 1 when done; 0 when mutex "10011" stays taken
/// for 10 seconds and when a file cannot be read or written, with `into` as it was; 135 when
/// "RecOffset.dat" cannot be opened.
int MergeFiles(const char* into, const char* from);

namespace virus_log {

/// The same for a caller who holds mutex "10011" already; no null pointers.
int MergeHeldFiles(const char* into, const char* from);

}  // namespace virus_log

/// Removes the oldest `count` records under the mutexes, while others add theirs to the second
/// file; but see ZQVRResetLog.
bool PerformResetLog(unsigned int count);
