#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/run_state.h"
#include "reports/files/report_index.h"

// Where the reports of each kind and their index lie, and what they hold. GUI thread.

namespace reports {

/// One report as the list shows it; texts are bytes.
struct ReportListing {
    std::string finished;
    std::string subject;
    std::string report;  ///< its file in "reports/", or its full path (scheduled scans)
};

/// The index of scan or update reports in the program directory.
std::string ReportIndexPath(ReportKind kind);

/// The reports of one kind in the order of their index; of scheduled scans those that belong to the
/// user of this process. Nothing when the index cannot be opened; a missing index of scheduled
/// scans lists none. `count` is what that of an index of scans or updates says.
std::optional<std::vector<ReportListing>> ListReports(ReportKind kind, IndexCount count);

/// The path of a report named as its index names it. Nothing for a name in "reports/" that leads
/// elsewhere: every user may write the index.
std::optional<std::string> ReportPath(ReportKind kind, std::string_view report);

/// The bytes of a regular file, line ends as "\n". Nothing when it cannot be read; never waits on a
/// FIFO or a device.
std::optional<std::string> ReadReportText(const std::string& path);

}  // namespace reports
