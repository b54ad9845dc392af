#include "product/shellscan/json_writer.h"

#include <nlohmann/json.hpp>
#include <string>

#include "common/engine_version.h"
#include "common/escaped_text.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "common/times.h"
#include "reports/files/report_texts.h"

namespace shellscan {

namespace {

using Json = nlohmann::ordered_json;

std::string TimeText(std::time_t time) {
    return common::FormatTime("%Y-%m-%dT%H:%M:%S", common::LocalTm(time));
}

const char* ActionName(std::uint16_t action) {
    switch (action) {
        case kActionRepairOnly:
            return "repair";
        case kActionRepairOrDelete:
            return "repair-or-delete";
        case kActionDelete:
            return "delete";
        default:
            return "report";
    }
}

bool IsOn(ScanFlag flag) {
    return (g_scnopts.flags & flag) != 0;
}

void WriteLine(const Json& object, common::Output& output) {
    output.Buffer() += object.dump() + "\n";
    output.Finish();
}

}  // namespace

void JsonWriter::Begin() {
    const tagZQVERINFO version = common::EngineVersion();
    std::tm databaseDate{};
    SystemTimeToTm(&version.databaseDate, &databaseDate);
    WriteLine({{"event", "begin"},
               {"time", TimeText(std::time(nullptr))},
               {"version",
                reports::Formatted("%u.%02u", unsigned{version.major}, unsigned{version.minor})},
               {"database", common::FormatTime("%Y-%m-%d", databaseDate)},
               {"action", ActionName(g_scnopts.action)},
               {"archives", IsOn(kScanArchives)},
               {"packed", IsOn(kScanPacked)},
               {"adware", IsOn(kScanAdware)},
               {"dumb", IsOn(kScanDumb)}},
              m_output);
}

void JsonWriter::Step(const scan::ScanStep& step) {
    if (step.info == nullptr) {
        return;
    }
    switch (step.type) {
        case kEvtInfected:
            WriteDetection("infected", *step.info);
            break;
        case kEvtDeleted:
            WriteDetection("deleted", *step.info);
            break;
        case kEvtRepaired:
            WriteDetection("repaired", *step.info);
            break;
        case kEvtSkipped:
            WriteDetection("skipped", *step.info);
            break;
        case kEvtNeedsDecision:
            WriteDetection("undecided", *step.info);
            break;
        case kEvtUnreadable:
            Unread(common::FieldText(step.info->fileName), common::FieldText(step.info->virusName));
            break;
        default:
            break;
    }
}

void JsonWriter::WriteDetection(const char* event, const tagZQFILEINFO& info) {
    WriteLine({{"event", event},
               {"path", common::Escaped(common::FieldText(info.fileName))},
               {"virus", common::Escaped(common::FieldText(info.virusName))}},
              m_output);
}

void JsonWriter::Unread(std::string_view path, std::string_view reason) {
    WriteLine(
        {{"event", "unread"}, {"path", common::Escaped(path)}, {"reason", common::Escaped(reason)}},
        m_output);
}

void JsonWriter::End(const RunSummary& summary) {
    WriteLine({{"event", "end"},
               {"time", TimeText(summary.end)},
               {"interrupted", summary.isInterrupted},
               {"scanned", summary.scanned},
               {"infected", summary.infected},
               {"repaired", summary.repaired},
               {"deleted", summary.deleted},
               {"skipped", summary.skipped},
               {"unread", summary.unread},
               {"seconds", summary.end - summary.start}},
              m_output);
}

}  // namespace shellscan
