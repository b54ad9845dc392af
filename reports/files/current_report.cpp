#include "reports/files/current_report.h"

#include <optional>
#include <string>

#include "common/text_field.h"
#include "reports/files/report_files.h"

void SetCurrentReport(ReportKind kind, std::string_view report) {
    CopyToField(g_szRptName, report);
    const std::optional<std::string> path = ReportPath(kind, report);
    if (!path || !CopyToField(g_szRptPath, *path)) {
        CopyToField(g_szRptPath, "");
    }
}
