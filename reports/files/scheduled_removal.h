#pragma once

#include <string>

namespace reports {

/// Deletes the report of a scheduled scan at `path` and its record. Who may write the index does
/// so, as DeleteReportForFile() does for `uid`, the real user; for everybody else the scheduler's
/// service does it, which knows whose it is, and without it nothing is deleted. False on failure.
/// Any thread; waits for the service for two seconds at most.
bool RemoveScheduledReport(const std::string& path, unsigned int uid);

}  // namespace reports
