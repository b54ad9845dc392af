#pragma once

namespace virus_log {

inline constexpr char kTrimmedRecordFile[] = "tmprpt.dat";
inline constexpr char kTrimmedOffsetFile[] = "tmpoffset.dat";

}  // namespace virus_log

/// Reads the limits of the virus log, MAXLIMIT and LIMIT in section LOGLIMIT of "section.ini" in
/// the program directory. False when either is missing, and for a null pointer. Any thread.
bool GetLogCount(int* maxLimit, int* limit);

/// Cuts the oldest records away from the record file `fileName` in "reports/" when it holds
/// MAXLIMIT of them, so that LIMIT are counted afterwards. True when nothing was to be done, or it
/// was done; false when the log could not be cut. The caller holds mutex "10011".
bool ResetVirusLog(char* fileName);
