#pragma once

// The virus log: what was done to which infected file, in binary files below "reports/" in the
// program directory that all processes of the product share. The functions take the named mutexes
// "10022" (which file receives records) and "10011" (the record files), in this order but where a
// record is added, and wait for them; a mutex that stays taken makes them fail. Any thread.

namespace virus_log {

/// The component code under which the scanner's window logs.
inline constexpr unsigned int kScannerUiComponent = 8000;

/// Longest path that ZQVRGetVirusReportFile returns, in units with the terminator.
inline constexpr unsigned int kVirusReportPathSize = 288;

}  // namespace virus_log

/// Adds one record: `component` did `action` to `filePath` because of `virusName`. True when it was
/// added whole; otherwise the log is as it was. Waits up to 5 seconds, and 10 more where
/// "VirMain.dat" is missing.
bool ZQVRAddRecVirusReport(unsigned int component, const char* filePath, const char* virusName,
                           const char* action);

/// Removes the oldest `count` records; `*remaining` receives how many stay. False with all records
/// there when it holds fewer. First sets a count that does not fit the records right. Records that
/// others add meanwhile go to a second file and then to the end of the log. Takes at least 10
/// seconds, in which it holds "10011": who adds a record then waits 5 seconds and is refused.
bool ZQVRResetLog(unsigned int count, unsigned int* remaining);

/// Makes a copy of the log that can be read without any lock (see log_reader.h) and stores its full
/// path, terminated, a unit for each byte, in `path`, which has room for kVirusReportPathSize
/// units. False when there is no log yet. Waits up to 20 seconds.
bool ZQVRGetVirusReportFile(unsigned short* path);
