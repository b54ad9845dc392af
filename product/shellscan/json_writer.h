#pragma once

#include "common/output.h"
#include "product/shellscan/run_writer.h"

namespace shellscan {

/// One JSON object a line. Names are escaped by the house's rule (common/escaped_text.h) before
/// they become JSON strings, so bytes that are no UTF-8 can be told apart.
class JsonWriter : public RunWriter {
public:
    explicit JsonWriter(int fd) : m_output(fd) {}

    void Begin() override;
    void Step(const scan::ScanStep& step) override;
    void Unread(std::string_view path, std::string_view reason) override;
    void End(const RunSummary& summary) override;
    [[nodiscard]] int Error() const override { return m_output.Error(); }

private:
    void WriteDetection(const char* event, const tagZQFILEINFO& info);

    common::Output m_output;
};

}  // namespace shellscan
