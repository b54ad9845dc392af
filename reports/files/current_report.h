#pragma once

#include <string_view>

#include "common/run_state.h"

namespace reports {

/// Makes a report, named as the index of its kind names it, the one that the viewer shows: fills
/// g_szRptName and g_szRptPath. A name that leads out of "reports/", or whose path does not fit,
/// leaves the path empty, so that nothing else is shown in its place. GUI thread.
void SetCurrentReport(ReportKind kind, std::string_view report);

}  // namespace reports
