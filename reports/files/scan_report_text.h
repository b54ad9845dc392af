#pragma once

#include <cstdint>
#include <string_view>

#include "common/scan_settings.h"
#include "reports/files/report_sink.h"

// The words of the report of one scan, fixed English.

namespace reports {

/// Writes the date, the versions of the product and (through pfnGetVer) of the virus database, and
/// the settings.
void WriteScanHeader(const tagSCNOPTS& settings, ReportSink& sink);

// How its times are written, for strftime; the lines have their ends.
inline constexpr char kStartTimeFormat[] = "Start Time : %H:%M:%S\r\n";
inline constexpr char kEndTimeFormat[] = "End Time :  %H:%M:%S\r\n";

/// What the end of a report says.
struct ScanSummary {
    bool isInterrupted = false;
    std::uint32_t scanned = 0;
    std::uint32_t infected = 0;
    std::uint32_t repaired = 0;
    std::uint32_t deleted = 0;
    std::uint32_t skipped = 0;
    std::uint32_t unreadable = 0;
    std::string_view startLine;  ///< by kStartTimeFormat
    std::string_view endLine;
    double seconds = 0;
};

void WriteScanSummary(const ScanSummary& summary, ReportSink& sink);

}  // namespace reports
