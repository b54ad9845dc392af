#include "reports/files/report_generator.h"

#include <ctime>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "common/times.h"
#include "reports/files/new_report.h"
#include "reports/files/report_index.h"
#include "reports/files/scan_report_text.h"

std::unique_ptr<ReportGen> g_pRptObj;

namespace {

/// The open report, wherever its writes lead.
class FileSink : public reports::ReportSink {
public:
    explicit FileSink(int fd) : m_fd(fd) {}
    void Write(std::string_view text) override { common::WriteAll(m_fd, text); }

private:
    int m_fd;
};

}  // namespace

ReportGen::ReportGen(const tagPathList* paths) : m_paths(common::CopyPathList(paths)) {
    // Without a report of this scan the viewer must not show that of the one before.
    common::CopyToField(g_szRptName, "");
    common::CopyToField(g_szRptPath, "");
    reports::NewReport report = reports::CreateNewReport("scn");
    if (!report.file) {
        return;
    }
    common::CopyToField(m_reportPath, report.path);
    common::CopyToField(m_reportName, report.name);
    m_fd = report.file.Release();
    common::CopyToField(g_szRptName, report.name);
    common::CopyToField(g_szRptPath, report.path);
}

ReportGen::~ReportGen() {
    tagPathList* tail = nullptr;
    common::FreePathList(m_paths, tail);
    if (m_fd >= 0) {
        (void)::fchmod(m_fd, 0666);
        ::close(m_fd);
    }
}

void ReportGen::Write(std::string_view text) {
    common::WriteAll(m_fd, text);
}

void ReportGen::Log(const char* text) {
    if (text != nullptr) {
        Write(text);
    }
}

int ReportGen::WriteHeader() {
    FileSink sink(m_fd);
    reports::WriteScanHeader(g_scnopts, sink);
    return 1;
}

int ReportGen::WriteSummary(bool interrupted) {
    FileSink sink(m_fd);
    reports::WriteScanSummary({.isInterrupted = interrupted,
                               .scanned = g_uiTotCnt,
                               .infected = g_uiInfCnt,
                               .repaired = g_uiReprCnt,
                               .deleted = g_uiDeleCnt,
                               .skipped = g_uiSkipCnt,
                               .unreadable = g_uiIOErrCnt,
                               .startLine = common::FieldText(g_szStrTime),
                               .endLine = common::FieldText(g_szEndTime),
                               .seconds = g_dDiffTime},
                              sink);
    return 1;
}

bool ReportGen::MakeIndexEntry() {
    const std::string indexPath = common::InProgramDirectory(reports::kScanIndexName);
    if (!common::CopyToField(m_indexPath, indexPath)) {
        return false;  // cut, it would be another file's path
    }
    tagScanIndexEntry entry{};
    common::CopyToField(entry.finished,
                        common::FormatTime("%d %b, %Y, %r", common::LocalTm(std::time(nullptr))));
    if (m_paths != nullptr) {
        common::CopyToField(entry.subject, common::FieldText(m_paths->path));
    }
    common::CopyToField(entry.reportName, common::FieldText(m_reportName));
    return reports::AppendReportIndexEntry(m_indexPath, entry, reports::IndexLock::kWhileCounting);
}
