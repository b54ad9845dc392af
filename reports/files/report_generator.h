#pragma once

#include <memory>
#include <string_view>

#include "common/path_list.h"
#include "reports/files/complete_scan.h"

/// Writes the report of one on-demand scan and lists it in the scan index.
///
/// Made on the GUI thread before the scan; WriteHeader is called on the scan thread before the
/// first event is posted, everything else on the GUI thread. Every text is fixed English and in the
/// file when the call returns. Nothing tells when a write fails: a scan does not end because its
/// report cannot be kept.
class ReportGen {
public:
    /// Copies the list, which may be null, and opens a new report in "reports/" of the application
    /// directory, created with mode 0600; g_szRptName and g_szRptPath then name it. When it cannot
    /// be opened, or its path does not fit 255 bytes, every write does nothing and these two are
    /// empty.
    explicit ReportGen(const tagPathList* paths);

    /// Closes the report; its mode becomes 0666, so that every user can read and change it.
    ~ReportGen();

    ReportGen(const ReportGen&) = delete;
    ReportGen& operator=(const ReportGen&) = delete;

    /// Writes `text` as it is, without its terminator. A null text writes nothing.
    void Log(const char* text);

    /// Writes the date, the versions of the product and (through pfnGetVer) of the virus database,
    /// and the settings in g_scnopts. Always 1.
    int WriteHeader();

    /// Writes whether the scan was `interrupted`, the six counters of the run and its times. Always
    /// 1.
    int WriteSummary(bool interrupted);

    /// Adds the report, with the first path of the list, to "main.rpt" in the application directory
    /// under a lock that other processes respect. False when that is missing, cannot be opened or
    /// has no room.
    bool MakeIndexEntry();

private:
    void Write(std::string_view text);

    tagPathList* m_paths = nullptr;
    char m_reportPath[256]{};
    char m_reportName[256]{};
    int m_fd = -1;
    char m_indexPath[256]{};
};

/// The report of the scan that is running; null between scans. Made and freed by the GUI thread.
extern std::unique_ptr<ReportGen> g_pRptObj;
