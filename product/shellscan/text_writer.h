#pragma once

#include "common/output.h"
#include "product/shellscan/run_writer.h"
#include "reports/files/report_sink.h"

namespace shellscan {

/// The report of the window, with names made fit to be shown on a terminal.
class TextWriter : public RunWriter, private reports::ReportSink {
public:
    explicit TextWriter(int fd) : m_output(fd) {}

    void Begin() override;
    void Step(const scan::ScanStep& step) override;
    void Unread(std::string_view path, std::string_view reason) override;
    void End(const RunSummary& summary) override;
    [[nodiscard]] int Error() const override { return m_output.Error(); }

private:
    void Write(std::string_view text) override;
    void WriteName(std::string_view name) override;

    common::Output m_output;
};

/// The summary in the words of a report of the window.
void WriteSummary(const RunSummary& summary, reports::ReportSink& sink);

}  // namespace shellscan
