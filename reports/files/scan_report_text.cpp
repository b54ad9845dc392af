#include "reports/files/scan_report_text.h"

#include <ctime>
#include <string>

#include "common/engine_version.h"
#include "common/times.h"
#include "reports/files/report_texts.h"

namespace reports {

namespace {

constexpr std::string_view kActionHeading = "Action on Virus found\n";

std::string VersionText() {
    const tagZQVERINFO version = common::EngineVersion();
    std::tm databaseDate{};
    SystemTimeToTm(&version.databaseDate, &databaseDate);
    return Formatted("Corvane Endpoint Protection Version %u.%02u\n%s\n\nVirus Database: ",
                     unsigned{version.major}, unsigned{version.minor}, reports::kLegalNotice) +
           common::FormatTime("%d %B, %Y", databaseDate) + "\n\n";
}

const char* OnOrOff(const tagSCNOPTS& settings, ScanFlag flag) {
    return (settings.flags & flag) != 0 ? "On" : "Off";
}

std::string_view ActionText(std::uint16_t action) {
    switch (action) {
        case kActionRepairOnly:
            return "- Repair only\n";
        case kActionRepairOrDelete:
            return "- Repair, delete if unrepairable\n";
        case kActionDelete:
            return "- Delete\n";
        case kActionReportOnly:
            return "- Report only\n";
        case kActionPrompt:
            return "- Prompt\n";
        default:
            // An unknown action repeats the heading: readers of the reports know it by that.
            return kActionHeading;
    }
}

std::string TotalTime(double seconds) {
    const auto elapsed = static_cast<long long>(seconds);
    // The hours start again at 60, as the readers of the reports expect.
    return Formatted("Total Time: %02lld:%02lld:%02lld\r\n\r\n", (elapsed / 3600) % 60,
                     elapsed / 60 - (elapsed / 3600) * 60, elapsed % 60);
}

}  // namespace

void WriteScanHeader(const tagSCNOPTS& settings, ReportSink& sink) {
    sink.Write(Rule(71) + "\n\n");
    sink.Write("Scan Report For - ");
    sink.Write(common::FormatTime("%d %B, %Y", common::LocalTm(std::time(nullptr))) + "\n\n");
    sink.Write(VersionText());
    sink.Write(Section());
    sink.Write("Scanner Settings for this Scan were as follows\n\n");
    sink.Write(Formatted("- Scan Packed: %s\n", OnOrOff(settings, kScanPacked)));
    sink.Write(Formatted("- Scan Archive: %s\n", OnOrOff(settings, kScanArchives)));
    sink.Write(Formatted("- Scan Adware/Spyware: %s\n", OnOrOff(settings, kScanAdware)));
    sink.Write(Formatted("- Dumb Scan: %s\n\n", OnOrOff(settings, kScanDumb)));
    sink.Write(kActionHeading);
    sink.Write(ActionText(settings.action));
    sink.Write("\n" + Section());
}

void WriteScanSummary(const ScanSummary& summary, ReportSink& sink) {
    sink.Write(summary.isInterrupted ? "Scan Interrupted.\n\n" : "Scan Complete.\n\n");
    sink.Write(Section());
    sink.Write("Scan Summary\n\n");
    std::string text = Formatted(
        "Total Files Scanned   = %u\n"
        "Total Virus Found     = %u\n"
        "Total Files Repaired  = %u\n"
        "Total Files Deleted   = %u\n"
        "Total Files Skipped   = %u\n"
        "Total I/O Errors      = %u\n\n",
        summary.scanned, summary.infected, summary.repaired, summary.deleted, summary.skipped,
        summary.unreadable);
    text.append(summary.startLine).append(summary.endLine).append(TotalTime(summary.seconds));
    sink.Write(text);
    sink.Write(Section());
    sink.Write("** Report End **\r\n");
}

}  // namespace reports
