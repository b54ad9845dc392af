#pragma once

#include <memory>
#include <string_view>

#include "common/path_list.h"

/// Writes the report of one on-demand scan and lists it in the scan index.
///
/// Made on the GUI thread before the scan; WriteHeader is called on the scan thread before the
/// first event is posted, everything else on the GUI thread.
class ReportGen {
public:
    /// Copies the list and opens a new report in "reports/"; the current report's name and path
    /// then name it. When it cannot be opened every write does nothing.
    explicit ReportGen(const tagPathList* paths);
    ~ReportGen();
    ReportGen(const ReportGen&) = delete;
    ReportGen& operator=(const ReportGen&) = delete;

    /// Writes `text` as it is.
    void Log(const char* text);

    /// Date, versions and settings of the scan. Always 1.
    int WriteHeader();

    /// Counters and times. Always 1.
    int WriteSummary(bool interrupted);

    /// Adds this report to "main.rpt". False when that could not be opened.
    bool MakeIndexEntry();

private:
    tagPathList* m_paths = nullptr;
    char m_reportPath[256]{};
    char m_reportName[256]{};
    int m_fd = -1;
    char m_indexPath[256]{};
};

/// The report of the scan that is running; null between scans.
extern std::unique_ptr<ReportGen> g_pRptObj;

/// Writes the time a scan was started into "reports/CmplScn.dat". Failures are ignored.
void WriteCmpScnRptforAdmin();
