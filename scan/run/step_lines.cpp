#include "scan/run/step_lines.h"

#include <string_view>

#include "common/text_field.h"

namespace scan {

namespace {

constexpr char kSeparator[] =
    "\n------------------------------------------------------------------\n\n";

/// The file that a record is about, what was found in it, and between the two `relation`.
void WriteDetection(const ScanStep& step, const char* relation, reports::ReportSink& sink) {
    const bool isKnown = step.info != nullptr;
    sink.Write("\n\nScanning: ");
    sink.WriteName(isKnown ? common::FieldText(step.info->fileName) : std::string_view());
    sink.Write(relation);
    sink.WriteName(isKnown ? common::FieldText(step.info->virusName) : std::string_view());
}

}  // namespace

void WriteStepLines(const ScanStep& step, reports::ReportSink& sink) {
    switch (step.type) {
        case kEvtInfected:
            WriteDetection(step, "\nInfected: ", sink);
            break;
        case kEvtDeleted:
            sink.Write("\n[Deleted]");
            break;
        case kEvtRepaired:
            sink.Write("\n[Repaired]");
            break;
        case kEvtSkipped:
            sink.Write("\n[Skipped]");
            break;
        case kEvtPathStarted:
            sink.Write("Scanning: ");
            sink.WriteName(step.text != nullptr ? step.text : "");
            break;
        case kEvtPathDone:
            sink.Write(kSeparator);
            break;
        case kEvtUnreadable:
            sink.Write("\n[Access denied]");
            break;
        case kEvtNeedsDecision:
            WriteDetection(step, "\n", sink);
            break;
        case kEvtScanningFile:
        case kEvtScanFinished:
        case kEvtPrompt:
        case kEvtConfirmStop:
        case kEvtAdvance:
        case kEvtCountingDone:
        case kEvtFillBar:
            break;
    }
}

}  // namespace scan
