#include "product/scanapi/conversation.h"

#include <algorithm>
#include <span>

#include "common/escaped_text.h"
#include "common/text_field.h"
#include "product/scanapi/engine_log.h"
#include "product/scanning/detection_kind.h"

namespace scanapi {

namespace {

constexpr std::string_view kCutMark = "...";

// As much of a text as the field holds, and a mark where it was cut. Takes no memory.
void PutCut(std::span<char> field, std::string_view text) {
    if (!common::CopyToField(field, text)) {
        std::copy(kCutMark.begin(), kCutMark.end(), field.end() - kCutMark.size() - 1);
    }
}

}  // namespace

std::string_view WhyUnread(const scanning::ScanOutcome& outcome) {
    if (outcome.verdict == scanning::Verdict::Stopped) {
        return "the scan of it was stopped";
    }
    return outcome.reason.empty() ? "it could not be read whole" : std::string_view(outcome.reason);
}

void PutFileName(tagZQFILEINFO& info, std::string_view fileName) {
    PutCut(info.fileName, fileName);
}

void Conversation::SayUnread(std::string_view reason) {
    tagZQFILEINFO info{};
    info.code = kMsgCannotRead;
    PutFileName(info, m_file.Path());
    PutCut(info.virusName, reason);
    m_callback(&info, m_context);
}

int Conversation::Say(std::int16_t code, std::string_view fileName, std::string_view virusName) {
    tagZQFILEINFO info{};
    info.code = code;
    PutFileName(info, fileName);
    if (!virusName.empty()) {
        const scanning::DetectionKind kind = scanning::KindOf(virusName);
        common::CopyToField(info.virusName, scanning::NameForProgram(virusName, fileName));
        info.detectionClass = kind.detectionClass;
        info.detectionSubClass = kind.subClass;
    }
    return m_callback(&info, m_context);
}

std::string Conversation::PathOf(std::string_view member) const {
    return member.empty() ? m_file.Path() : m_file.Path() + '/' + std::string(member);
}

bool Conversation::Member(std::string_view member) {
    return Say(kMsgScanningMember, PathOf(member)) != kReplyStop;
}

bool Conversation::StopWanted() {
    return Say(kMsgAskStop, m_file.Path()) == kReplyStop;
}

bool Conversation::Conclude(const scanning::ScanOutcome& outcome) {
    switch (outcome.verdict) {
        case scanning::Verdict::Clean:
            Say(kMsgFileClean, m_file.Path());
            return true;
        case scanning::Verdict::Infected:
            Detected(outcome);
            return true;
        case scanning::Verdict::PassedOver:
            // Neither clean nor unreadable: nobody looked, as the user asked.
            return true;
        case scanning::Verdict::Unreadable:
        case scanning::Verdict::Stopped:
            break;
    }
    SayUnread(common::Escaped(WhyUnread(outcome)));
    return false;
}

void Conversation::Detected(const scanning::ScanOutcome& outcome) {
    int reply = Say(kMsgVirusFound, PathOf(outcome.member), outcome.virusName);
    if (reply == kReplyRepair) {
        // Nothing can be disinfected here; the program then says what else to do.
        reply = Say(kMsgRepairFailed, m_file.Path(), outcome.virusName);
    }
    // From here on it is the outermost file that is acted on, also for a virus inside an archive.
    if (reply == kReplyDelete) {
        Delete(outcome.virusName);
    } else if (reply == kReplyLeave) {
        Say(kMsgSkipped, m_file.Path(), outcome.virusName);
    }
    // Dismissed, stopped or already counted by the program: the file stays and nothing is said.
}

void Conversation::Delete(const std::string& virusName) {
    const Removal removal = RemoveScannedFile(m_file, m_disposalOf(virusName));
    const bool isRemoved = removal.result == RemovalResult::Removed;
    if (!isRemoved || !removal.item.empty()) {
        LogLine("(" + common::Escaped(m_file.Path()) + ") " +
                (isRemoved ? "was deleted; the vault has it as " + removal.item
                           : "was not deleted: " + RemovalText(removal)));
    }
    Say(isRemoved ? kMsgDeleted : kMsgSkipped, m_file.Path(), virusName);
}

}  // namespace scanapi
