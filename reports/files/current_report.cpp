#include "reports/files/current_report.h"

#include <optional>
#include <string>

#include "common/text_field.h"
#include "reports/files/report_files.h"

namespace reports {

void SetCurrentReport(ReportKind kind, std::string_view report) {
    common::CopyToField(g_szRptName, report);
    const std::optional<std::string> path = ReportPath(kind, report);
    if (!path || !common::CopyToField(g_szRptPath, *path)) {
        common::CopyToField(g_szRptPath, "");
    }
}

}  // namespace reports
