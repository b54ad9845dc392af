#include "scan/run/detection_journal.h"

#include <array>
#include <string>
#include <string_view>
#include <sys/uio.h>
#include <unistd.h>

// Where in the source a message is made is nobody's business.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include "common/escaped_text.h"
#include "common/text_field.h"
#include "common/users.h"

namespace scan {

namespace {

// Never changed: who collects messages looks for these.
constexpr char kDetectedId[] = "fdf3270a53944afdacf6dae97c91f73b";
constexpr char kDoneId[] = "5e45d17151ac44fa9a4c38fac1e34c16";
constexpr char kWarning[] = "4";
constexpr char kNotice[] = "5";

const char* ActionOf(EngineReply reply) {
    switch (reply) {
        case kReplyRepair:
            return "repair";
        case kReplyDelete:
            return "delete";
        case kReplyStop:
            return "stop";
        default:
            return "leave";
    }
}

const char* OutcomeOf(std::int16_t code) {
    switch (code) {
        case kMsgRepaired:
            return "repaired";
        case kMsgDeleted:
            return "deleted";
        case kMsgSkipped:
            return "skipped";
        case kMsgMarkedForDeletion:
            return "marked";
        default:
            return nullptr;
    }
}

std::string UserOfScan() {
    const uid_t user = ::getuid();
    return common::UserName(user).value_or(std::to_string(user));
}

void Send(const char* id, const char* priority, const tagZQFILEINFO& info, const char* action) {
    const std::string_view file = common::FieldText(info.fileName);
    const std::string_view virus = common::FieldText(info.virusName);
    // The fields hold the bytes as they are; what people read holds nothing that misleads them.
    std::array<std::string, 8> fields{
        "MESSAGE=Virus " + common::Escaped(virus) + " in " + common::Escaped(file) + ": " + action,
        std::string("MESSAGE_ID=") + id,
        std::string("PRIORITY=") + priority,
        "SYSLOG_IDENTIFIER=corvane",
        "CORVANE_FILE=" + std::string(file),
        "CORVANE_VIRUS=" + std::string(virus),
        std::string("CORVANE_ACTION=") + action,
        "CORVANE_USER=" + UserOfScan(),
    };
    std::array<iovec, fields.size()> pieces{};
    for (std::size_t i = 0; i < fields.size(); ++i) {
        pieces.at(i) = {fields.at(i).data(), fields.at(i).size()};
    }
    (void)sd_journal_sendv(pieces.data(), static_cast<int>(pieces.size()));
}

}  // namespace

void JournalDetection(const tagZQFILEINFO& info, EngineReply reply) {
    Send(kDetectedId, kWarning, info, ActionOf(reply));
}

void JournalOutcome(const tagZQFILEINFO& info) {
    if (const char* const outcome = OutcomeOf(info.code)) {
        Send(kDoneId, kNotice, info, outcome);
    }
}

}  // namespace scan
