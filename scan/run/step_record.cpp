#include "scan/run/step_record.h"

#include <string>
#include <string_view>

#include "scan/run/scan_state.h"
#include "scan/run/step_lines.h"
#include "scan/run/stop_flag.h"

namespace scan {

namespace {

/// The report that a scan writes, if it does.
class ReportLog : public reports::ReportSink {
public:
    explicit ReportLog(const ScanState& state) : m_state(state) {}

    void Write(std::string_view text) override {
        if (m_state.report != nullptr) {
            m_state.report->Log(std::string(text).c_str());
        }
    }

private:
    const ScanState& m_state;
};

void RecordEnd(const ScanState& state, StopFlag& stop) {
    if (state.report != nullptr) {
        state.report->WriteSummary(stop.IsSet());
        state.report->MakeIndexEntry();
    }
    stop.Set();
}

std::uint32_t CountStep(const ScanStep& step, ScanState& state) {
    switch (step.type) {
        case kEvtScanningFile:
            return ++state.scanned;
        case kEvtInfected:
            return ++state.infected;
        case kEvtDeleted:
            return ++state.deleted;
        case kEvtRepaired:
            return ++state.repaired;
        case kEvtSkipped:
            return ++state.skipped;
        case kEvtUnreadable:
            return ++state.unreadable;
        case kEvtNeedsDecision:
            --state.skipped;  // the callback has added it when the file is deleted
            return 0;
        default:
            return 0;
    }
}

}  // namespace

std::uint32_t RecordStep(const ScanStep& step, ScanState& state, StopFlag& stop) {
    const std::uint32_t count = CountStep(step, state);
    ReportLog log(state);
    WriteStepLines(step, log);
    if (step.type == kEvtScanFinished) {
        RecordEnd(state, stop);
    }
    return count;
}

}  // namespace scan
