#include "reports/files/report_generator.h"

#include <ctime>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/engine_version.h"
#include "common/io.h"
#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "common/times.h"
#include "reports/files/new_report.h"
#include "reports/files/report_index.h"
#include "reports/files/report_texts.h"

std::unique_ptr<ReportGen> g_pRptObj;

namespace {

using reports::Formatted;
using reports::Rule;
using reports::Section;

constexpr std::string_view kActionHeading = "Action on Virus found\n";

std::string VersionText() {
    const tagZQVERINFO version = common::EngineVersion();
    std::tm databaseDate{};
    SystemTimeToTm(&version.databaseDate, &databaseDate);
    return Formatted("Corvane Endpoint Protection Version %u.%02u\n%s\n\nVirus Database: ",
                     unsigned{version.major}, unsigned{version.minor}, reports::kLegalNotice) +
           common::FormatTime("%d %B, %Y", databaseDate) + "\n\n";
}

const char* OnOrOff(ScanFlag flag) {
    return (g_scnopts.flags & flag) != 0 ? "On" : "Off";
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

std::string TotalTime() {
    const auto elapsed = static_cast<long long>(g_dDiffTime);
    // The hours start again at 60, as the readers of the reports expect.
    return Formatted("Total Time: %02lld:%02lld:%02lld\r\n\r\n", (elapsed / 3600) % 60,
                     elapsed / 60 - (elapsed / 3600) * 60, elapsed % 60);
}

}  // namespace

ReportGen::ReportGen(const tagPathList* paths) : m_paths(common::CopyPathList(paths)) {
    // Without a report of this scan the viewer must not show that of the one before.
    common::CopyToField(g_szRptName, "");
    common::CopyToField(g_szRptPath, "");
    reports::NewReport report = reports::CreateNewReport("scn");
    if (!report.file) {
        return;
    }
    common::CopyToField(m_reportPath, report.path);
    common::CopyToField(m_reportName, report.name);
    m_fd = report.file.Release();
    common::CopyToField(g_szRptName, report.name);
    common::CopyToField(g_szRptPath, report.path);
}

ReportGen::~ReportGen() {
    tagPathList* tail = nullptr;
    common::FreePathList(m_paths, tail);
    if (m_fd >= 0) {
        (void)::fchmod(m_fd, 0666);
        ::close(m_fd);
    }
}

void ReportGen::Write(std::string_view text) {
    common::WriteAll(m_fd, text);
}

void ReportGen::Log(const char* text) {
    if (text != nullptr) {
        Write(text);
    }
}

int ReportGen::WriteHeader() {
    Write(Rule(71) + "\n\n");
    Write("Scan Report For - ");
    Write(common::FormatTime("%d %B, %Y", common::LocalTm(std::time(nullptr))) + "\n\n");
    Write(VersionText());
    Write(Section());
    Write("Scanner Settings for this Scan were as follows\n\n");
    Write(Formatted("- Scan Packed: %s\n", OnOrOff(kScanPacked)));
    Write(Formatted("- Scan Archive: %s\n", OnOrOff(kScanArchives)));
    Write(Formatted("- Scan Adware/Spyware: %s\n", OnOrOff(kScanAdware)));
    Write(Formatted("- Dumb Scan: %s\n\n", OnOrOff(kScanDumb)));
    Write(kActionHeading);
    Write(ActionText(g_scnopts.action));
    Write("\n" + Section());
    return 1;
}

int ReportGen::WriteSummary(bool interrupted) {
    Write(interrupted ? "Scan Interrupted.\n\n" : "Scan Complete.\n\n");
    Write(Section());
    Write("Scan Summary\n\n");
    std::string summary = Formatted(
        "Total Files Scanned   = %u\n"
        "Total Virus Found     = %u\n"
        "Total Files Repaired  = %u\n"
        "Total Files Deleted   = %u\n"
        "Total Files Skipped   = %u\n"
        "Total I/O Errors      = %u\n\n",
        g_uiTotCnt.load(), g_uiInfCnt.load(), g_uiReprCnt.load(), g_uiDeleCnt.load(),
        g_uiSkipCnt.load(), g_uiIOErrCnt.load());
    summary.append(common::FieldText(g_szStrTime))
        .append(common::FieldText(g_szEndTime))
        .append(TotalTime());
    Write(summary);
    Write(Section());
    Write("** Report End **\r\n");
    return 1;
}

bool ReportGen::MakeIndexEntry() {
    const std::string indexPath = common::InProgramDirectory(reports::kScanIndexName);
    if (!common::CopyToField(m_indexPath, indexPath)) {
        return false;  // cut, it would be another file's path
    }
    tagScanIndexEntry entry{};
    common::CopyToField(entry.finished,
                        common::FormatTime("%d %b, %Y, %r", common::LocalTm(std::time(nullptr))));
    if (m_paths != nullptr) {
        common::CopyToField(entry.subject, common::FieldText(m_paths->path));
    }
    common::CopyToField(entry.reportName, common::FieldText(m_reportName));
    return reports::AppendReportIndexEntry(m_indexPath, entry, reports::IndexLock::kWhileCounting);
}
