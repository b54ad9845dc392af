#include "product/shellscan/text_writer.h"

#include <string>

#include "common/escaped_text.h"
#include "common/run_state.h"
#include "common/times.h"
#include "reports/files/scan_report_text.h"
#include "scan/run/step_lines.h"

namespace shellscan {

void WriteSummary(const RunSummary& summary, reports::ReportSink& sink) {
    const std::string startLine =
        common::FormatTime(reports::kStartTimeFormat, common::LocalTm(summary.start));
    const std::string endLine =
        common::FormatTime(reports::kEndTimeFormat, common::LocalTm(summary.end));
    reports::WriteScanSummary({.isInterrupted = summary.isInterrupted,
                               .scanned = summary.scanned,
                               .infected = summary.infected,
                               .repaired = summary.repaired,
                               .deleted = summary.deleted,
                               .skipped = summary.skipped,
                               .unreadable = summary.ioErrors,
                               .startLine = startLine,
                               .endLine = endLine,
                               .seconds = std::difftime(summary.end, summary.start)},
                              sink);
}

void TextWriter::Begin() {
    reports::WriteScanHeader(g_scnopts, *this);
    m_output.Finish();
}

// What was found is seen at once, also through a pipe.
void TextWriter::Step(const scan::ScanStep& step) {
    scan::WriteStepLines(step, *this);
    m_output.Finish();
}

void TextWriter::Unread(std::string_view /*path*/, std::string_view /*reason*/) {
    // The report of the window does not tell of it; standard error does.
}

void TextWriter::End(const RunSummary& summary) {
    WriteSummary(summary, *this);
    m_output.Finish();
}

void TextWriter::Write(std::string_view text) {
    m_output.Buffer() += text;
}

void TextWriter::WriteName(std::string_view name) {
    common::AppendEscaped(m_output.Buffer(), name);
}

}  // namespace shellscan
