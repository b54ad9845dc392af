#pragma once

// The version texts of the virus database before an update. Whoever runs the update writes and
// reads them on one thread.
extern char g_szOldVersion[100];
extern char g_szOldDbDate[100];
extern char g_szOldDbTime[100];

namespace reports {

/// Fills the three with what the engine says now. To be called before an update starts.
void CaptureOldVersion();

}  // namespace reports

/// Writes the report of an update that ended with `status` ("UPDATED SUCCESSFULLY", "UP-TO-DATE";
/// anything else is an error) into "reports/" and lists it in "updt.rpt". False for a null status,
/// when the report cannot be created and when it cannot be listed; in the last case the report is
/// there all the same.
bool WriteUpdtFile(const char* status);
