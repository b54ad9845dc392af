#include "scan/run/message_rules.h"

#include "common/text_field.h"
#include "reports/virus_log/virus_log.h"
#include "scan/run/detection_filters.h"
#include "scan/run/detection_journal.h"
#include "scan/run/scan_run.h"

namespace scan {

namespace {

/// The text fields of an engine record, which need not be terminated there, as C strings.
struct TerminatedNames {
    explicit TerminatedNames(const tagZQFILEINFO& info) {
        common::CopyToField(fileName, common::FieldText(info.fileName));
        common::CopyToField(virusName, common::FieldText(info.virusName));
    }
    char fileName[kEngineFileNameSize + 1];
    char virusName[kEngineVirusNameSize + 1];
};

/// True when the settings' action or the user's choice in the prompt is `wanted`.
bool ActionOrChoiceIs(const ScanState& state, ScanAction wanted) {
    return state.settings.action == wanted || state.answer.choice == wanted;
}

/// What to do with a detection. Anything that is not a known way to change the file leaves it
/// alone.
EngineReply ReplyFor(std::int16_t code, std::uint16_t action) {
    switch (action) {
        case kActionRepairOnly:
        case kActionRepairOrDelete:
            return kReplyRepair;
        case kActionDelete:
            // The second kind is not deleted on purpose: the engine is stopped there instead.
            return code == kMsgVirusFound ? kReplyDelete : kReplyStop;
        default:
            return kReplyLeave;
    }
}

/// Asks the user unless an answer for all is there already. False when the scan is to stop.
bool AskUser(const tagZQFILEINFO& info, ScanRun& run) {
    if (run.State().answer.applyToAll != 0) {
        return true;
    }
    run.Ask({kEvtPrompt, nullptr, &info});
    return !run.Stop().IsSet();
}

EngineReply OnDetection(const tagZQFILEINFO& info, ScanRun& run, std::int16_t& previousCode) {
    if (ReportUnknownMacroVirus(&info, &run.EngineOptions()) == 0 ||
        ReportWeakPolyVirus(&info) == 0) {
        return kReplyDismiss;
    }
    const ScanState& state = run.State();
    DecideLabScanFlag(&info, &run.EngineOptions());
    state.cleanFiles = -1;
    previousCode = info.code;
    run.Tell({kEvtInfected, nullptr, &info});

    EngineReply reply = kReplyStop;
    if (state.settings.action != kActionPrompt) {
        reply = ReplyFor(info.code, state.settings.action);
    } else if (AskUser(info, run)) {
        reply = ReplyFor(info.code, state.answer.choice);
    }
    JournalDetection(info, reply);
    return reply;
}

EngineReply OnNeedsDecision(const tagZQFILEINFO& info, ScanRun& run) {
    const ScanState& state = run.State();
    run.Tell({kEvtNeedsDecision, nullptr, &info});
    if (ActionOrChoiceIs(state, kActionRepairOrDelete) || ActionOrChoiceIs(state, kActionDelete)) {
        // Evens out the one that is taken off for this step.
        ++state.skipped;
        return kReplyDelete;
    }
    return kReplyGoOn;
}

EngineReply OnRepairFailed(const tagZQFILEINFO& info, ScanRun& run, std::int16_t previousCode) {
    const bool deleteInstead = ActionOrChoiceIs(run.State(), kActionRepairOrDelete);
    const bool firstKind = previousCode == kMsgVirusFound;
    if (firstKind && deleteInstead) {
        return kReplyDelete;
    }
    run.Tell({kEvtSkipped, nullptr, &info});
    return deleteInstead ? kReplyStop : kReplyGoOn;
}

void RecordInLogs(const tagZQFILEINFO& info) {
    const TerminatedNames names(info);
    ZQVRAddRecVirusReport(virus_log::kScannerUiComponent, names.fileName, names.virusName,
                          VirusLogText(info.code));
    JournalOutcome(info);
}

/// The record comes first: whoever is told of the step finds it in the log.
EngineReply OnDone(const tagZQFILEINFO& info, ScanRun& run, ZQEvent event) {
    RecordInLogs(info);
    run.Tell({event, nullptr, &info});
    return kReplyGoOn;
}

}  // namespace

bool IsDetection(std::int16_t code) {
    return code == kMsgVirusFound || code == kMsgVirusFoundSecondKind;
}

EngineReply ReplyToMessage(const tagZQFILEINFO& info, ScanRun& run) {
    // Code of the last detection reported, across files and runs.
    static std::int16_t shPrevMsg = 0;

    const ScanState& state = run.State();
    switch (info.code) {
        case kMsgVirusFound:
        case kMsgVirusFoundSecondKind:
            return OnDetection(info, run, shPrevMsg);
        case kMsgFileClean:
            if (state.cleanFiles != -1) {
                ++state.cleanFiles;
            }
            return kReplyGoOn;
        case kMsgScanningMember:
            run.Tell({kEvtScanningFile, TerminatedNames(info).fileName});
            return kReplyGoOn;
        case kMsgNeedsDecision:
            return OnNeedsDecision(info, run);
        case kMsgCannotRead:
            run.Tell({kEvtUnreadable, nullptr, &info});
            return kReplyGoOn;
        case kMsgRepaired:
            return OnDone(info, run, kEvtRepaired);
        case kMsgRepairFailed:
            return OnRepairFailed(info, run, shPrevMsg);
        case kMsgDeleted:
            return OnDone(info, run, kEvtDeleted);
        case kMsgSkipped:
            return OnDone(info, run, kEvtSkipped);
        case kMsgMarkedForDeletion:
            RecordInLogs(info);  // and no step: the file is still there
            return kReplyGoOn;
        case kMsgAskStop:
        default:
            return kReplyGoOn;
    }
}

const char* VirusLogText(std::int16_t code) {
    switch (code) {
        case kMsgRepaired:
            return "File is Repaired";
        case kMsgDeleted:
            return "File is Deleted";
        case kMsgSkipped:
            return "File is skipped";
        case kMsgMarkedForDeletion:
            return "File is Marked for deletion";
        default:
            return nullptr;
    }
}

}  // namespace scan
