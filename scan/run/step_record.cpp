#include "scan/run/step_record.h"

#include <initializer_list>
#include <string>

#include "common/text_field.h"
#include "scan/run/scan_state.h"
#include "scan/run/stop_flag.h"

namespace scan {

namespace {

constexpr char kSeparator[] =
    "\n------------------------------------------------------------------\n\n";

void Log(const ScanState& state, std::initializer_list<const char*> texts) {
    if (state.report != nullptr) {
        for (const char* text : texts) {
            state.report->Log(text);
        }
    }
}

/// The file that a record is about, what was found in it, and between the two `relation`.
void LogDetection(const ScanState& state, const ScanStep& step, const char* relation) {
    if (step.info == nullptr) {
        Log(state, {"\n\nScanning: ", "", relation, ""});
        return;
    }
    const std::string fileName(common::FieldText(step.info->fileName));
    const std::string virusName(common::FieldText(step.info->virusName));
    Log(state, {"\n\nScanning: ", fileName.c_str(), relation, virusName.c_str()});
}

void RecordEnd(const ScanState& state, StopFlag& stop) {
    if (state.report != nullptr) {
        state.report->WriteSummary(stop.IsSet());
        state.report->MakeIndexEntry();
    }
    stop.Set();
}

}  // namespace

std::uint32_t RecordStep(const ScanStep& step, ScanState& state, StopFlag& stop) {
    std::uint32_t count = 0;
    switch (step.type) {
        case kEvtScanningFile:
            count = ++state.scanned;
            break;
        case kEvtScanFinished:
            RecordEnd(state, stop);
            break;
        case kEvtInfected:
            count = ++state.infected;
            LogDetection(state, step, "\nInfected: ");
            break;
        case kEvtDeleted:
            count = ++state.deleted;
            Log(state, {"\n[Deleted]"});
            break;
        case kEvtRepaired:
            count = ++state.repaired;
            Log(state, {"\n[Repaired]"});
            break;
        case kEvtSkipped:
            count = ++state.skipped;
            Log(state, {"\n[Skipped]"});
            break;
        case kEvtPathStarted:
            Log(state, {"Scanning: ", step.text != nullptr ? step.text : ""});
            break;
        case kEvtPathDone:
            Log(state, {kSeparator});
            break;
        case kEvtUnreadable:
            count = ++state.unreadable;
            Log(state, {"\n[Access denied]"});
            break;
        case kEvtNeedsDecision:
            --state.skipped;  // the callback has added it when the file is deleted
            LogDetection(state, step, "\n");
            break;
        case kEvtPrompt:
        case kEvtConfirmStop:
        case kEvtAdvance:
        case kEvtCountingDone:
        case kEvtFillBar:
            break;
    }
    return count;
}

}  // namespace scan
