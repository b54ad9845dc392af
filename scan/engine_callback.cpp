#include "scan/engine_callback.h"

#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/virus_log/virus_log.h"
#include "scan/run/detection_filters.h"
#include "scan/run/prompt_handshake.h"
#include "scan/scan_dialog.h"
#include "scan/scanner.h"
#include "scan/zq_event.h"

namespace {

/// The text fields of an engine record, which need not be terminated there, as C strings.
struct TerminatedNames {
    explicit TerminatedNames(const tagZQFILEINFO& info) {
        CopyToField(fileName, FieldText(info.fileName));
        CopyToField(virusName, FieldText(info.virusName));
    }
    char fileName[kEngineFileNameSize + 1];
    char virusName[kEngineVirusNameSize + 1];
};

bool IsDetection(std::int16_t code) {
    return code == kMsgVirusFound || code == kMsgVirusFoundSecondKind;
}

/// True when the settings' action or the user's choice in the prompt is `wanted`.
bool ActionOrChoiceIs(ScanAction wanted) {
    return g_scnopts.action == wanted || g_myScnopts.choice == wanted;
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
bool AskUser(const tagZQFILEINFO& info, ScanDialog& dialog) {
    if (g_myScnopts.applyToAll != 0) {
        return true;
    }
    AskAndWait([&info, &dialog] { PostZqEvent(&dialog, kEvtPrompt, &info); });
    return !dialog.m_stop.IsSet();
}

EngineReply OnDetection(const tagZQFILEINFO& info, ScanDialog& dialog, std::int16_t& previousCode) {
    if (ReportUnknownMacroVirus(&info, &Scanner::m_ScanOptns) == 0 ||
        ReportWeakPolyVirus(&info) == 0) {
        return kReplyDismiss;
    }
    DecideLabScanFlag(&info, &Scanner::m_ScanOptns);
    g_iCleanFileSeqCnt = -1;
    previousCode = info.code;
    PostZqEvent(&dialog, kEvtInfected, &info);

    if (g_scnopts.action != kActionPrompt) {
        return ReplyFor(info.code, g_scnopts.action);
    }
    return AskUser(info, dialog) ? ReplyFor(info.code, g_myScnopts.choice) : kReplyStop;
}

EngineReply OnNeedsDecision(const tagZQFILEINFO& info, ScanDialog& dialog) {
    PostZqEvent(&dialog, kEvtNeedsDecision, &info);
    if (ActionOrChoiceIs(kActionRepairOrDelete) || ActionOrChoiceIs(kActionDelete)) {
        // Evens out the one that the dialog takes off for this event.
        ++g_uiSkipCnt;
        return kReplyDelete;
    }
    return kReplyGoOn;
}

EngineReply OnRepairFailed(const tagZQFILEINFO& info, ScanDialog& dialog,
                           std::int16_t previousCode) {
    const bool deleteInstead = ActionOrChoiceIs(kActionRepairOrDelete);
    const bool firstKind = previousCode == kMsgVirusFound;
    if (firstKind && deleteInstead) {
        return kReplyDelete;
    }
    PostZqEvent(&dialog, kEvtSkipped, &info);
    return deleteInstead ? kReplyStop : kReplyGoOn;
}

void RecordInVirusLog(const tagZQFILEINFO& info) {
    const TerminatedNames names(info);
    ZQVRAddRecVirusReport(kScannerUiComponent, names.fileName, names.virusName,
                          VirusLogText(info.code));
}

EngineReply OnDone(const tagZQFILEINFO& info, ScanDialog& dialog, ZQEvent event) {
    RecordInVirusLog(info);
    PostZqEvent(&dialog, event, &info);
    return kReplyGoOn;
}

EngineReply Answer(const tagZQFILEINFO& info, ScanDialog& dialog, std::int16_t& previousCode) {
    switch (info.code) {
        case kMsgVirusFound:
        case kMsgVirusFoundSecondKind:
            return OnDetection(info, dialog, previousCode);
        case kMsgFileClean:
            if (g_iCleanFileSeqCnt != -1) {
                ++g_iCleanFileSeqCnt;
            }
            return kReplyGoOn;
        case kMsgScanningMember:
            PostZqEvent(&dialog, kEvtScanningFile, TerminatedNames(info).fileName);
            return kReplyGoOn;
        case kMsgNeedsDecision:
            return OnNeedsDecision(info, dialog);
        case kMsgCannotRead:
            PostZqEvent(&dialog, kEvtUnreadable, &info);
            return kReplyGoOn;
        case kMsgRepaired:
            return OnDone(info, dialog, kEvtRepaired);
        case kMsgRepairFailed:
            return OnRepairFailed(info, dialog, previousCode);
        case kMsgDeleted:
            return OnDone(info, dialog, kEvtDeleted);
        case kMsgSkipped:
            return OnDone(info, dialog, kEvtSkipped);
        case kMsgMarkedForDeletion:
            RecordInVirusLog(info);  // and no event: the file is still there
            return kReplyGoOn;
        case kMsgAskStop:
        default:
            return kReplyGoOn;
    }
}

}  // namespace

int ZqCallBack(const tagZQFILEINFO* info, void* context) noexcept {
    static std::int16_t shPrevMsg =
        0;  // code of the last detection reported, across files and runs

    if (info == nullptr || context == nullptr) {
        return kReplyGoOn;
    }
    auto& dialog = static_cast<ScanDialog&>(*static_cast<QDialog*>(context));
    if (dialog.m_stop.IsSet()) {
        return kReplyStop;
    }
    try {
        return Answer(*info, dialog, shPrevMsg);
    } catch (...) {
        // Out of memory. A file whose detection could not be shown is not changed either.
        return IsDetection(info->code) ? kReplyLeave : kReplyGoOn;
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
