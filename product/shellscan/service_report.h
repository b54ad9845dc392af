#pragma once

#include <optional>
#include <string>

#include "product/shellscan/run_writer.h"
#include "reports/files/report_sink.h"
#include "reports/files/scan_reports.h"

namespace shellscan {

/// The report of a scheduled scan, into a file that the service behind it has made. Names are as
/// they are: it is a file that the report viewer shows, not a terminal.
class ServiceReport : public RunWriter, private reports::ReportSink {
public:
    /// `note` is a line below the header, without its end; empty for none.
    ServiceReport(common::FileDescriptor report, std::string note)
        : m_report(std::move(report)), m_note(std::move(note)) {}

    void Begin() override;
    void Step(const scan::ScanStep& step) override;
    void Unread(std::string_view /*path*/, std::string_view /*reason*/) override {}
    void End(const RunSummary& summary) override;
    [[nodiscard]] int Error() const override { return m_error; }

private:
    void Write(std::string_view text) override;

    ScanReports m_report;
    std::string m_note;
    int m_error = 0;
};

/// Takes a descriptor that this program was started with for a report: an empty regular file, open
/// for writing. Not open with the problem.
common::FileDescriptor TakeReportDescriptor(int number, std::string& problem);

}  // namespace shellscan
