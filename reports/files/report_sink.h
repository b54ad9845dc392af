#pragma once

#include <string_view>

namespace reports {

/// Where the text of a report goes, piece by piece.
class ReportSink {
public:
    ReportSink() = default;
    virtual ~ReportSink() = default;
    ReportSink(const ReportSink&) = delete;
    ReportSink& operator=(const ReportSink&) = delete;

    virtual void Write(std::string_view text) = 0;

    /// A name that others have chosen, of a file or a virus, as bytes.
    virtual void WriteName(std::string_view name) { Write(name); }
};

}  // namespace reports
