#pragma once

#include "reports/files/report_sink.h"
#include "scan/run/scan_listener.h"

namespace scan {

/// What the report of a scan says of a step; most steps say nothing.
void WriteStepLines(const ScanStep& step, reports::ReportSink& sink);

}  // namespace scan
