#include "reports/files/scan_reports.h"

#include <algorithm>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/text_field.h"
#include "common/times.h"
#include "common/translation.h"
#include "common/version_record.h"
#include "reports/files/new_report.h"
#include "reports/files/report_texts.h"

thread_local tagScanCount g_scanCount{};

namespace {

using reports::Formatted;
using reports::Rule;

constexpr char kReportFolder[] = "/usr/lib/Corvane/Corvane/reports/";
constexpr char kDateAndTime[] = "%d %B, %Y, Time : %H:%M:%S";
constexpr char kActionHeading[] = "schddmn_str_actiononvirus";

std::string OnOff(const char* setting, bool isOn) {
    return Formatted("- %s: %s\n", AvGetTranslation(setting),
                     AvGetTranslation(isOn ? "schddmn_str_on" : "schddmn_str_off"));
}

const char* IdOfAction(std::uint16_t action) {
    switch (action) {
        case kActionRepairOnly:
            return "schscan_msg_repaironly";
        case kActionRepairOrDelete:
            return "schscan_msg_repairdelete";
        case kActionDelete:
            return "schscan_msg_delete";
        case kActionReportOnly:
            return "schscan_msg_reportonly";
        default:
            return nullptr;
    }
}

const char* IdOfKtxAction(short action) {
    switch (action) {
        case kKtxRepairOnly:
            return "schscan_msg_repaironly";
        case kKtxDelete:
            return "schscan_msg_delete";
        case kKtxReportOnly:
            return "schscan_msg_reportonly";
        case kKtxRepairOrDelete:
            return "schscan_msg_repairdelete";
        default:
            return nullptr;
    }
}

std::string CounterLines(const tagScanCount& count) {
    const auto line = [](const char* format, const char* name, std::uint32_t value) {
        return Formatted(format, AvGetTranslation(name), value);
    };
    // The blanks make the English names line up.
    return line("%s   = %u\n", "schddmn_str_totalfilescanned", count.scanned) +
           line("%s     = %u\n", "schddmn_str_totalvirusfound", count.found) +
           line("%s  = %u\n", "schddmn_str_totalfilesrepaired", count.repaired) +
           line("%s   = %u\n", "schddmn_str_totalfilesdeleted", count.deleted) +
           line("%s   = %u\n", "schddmn_str_totalfilesskipped", count.skipped) +
           line("%s      = %u\n", "schddmn_str_totalioerror", count.ioErrors) + "\n";
}

std::string TotalTime(std::time_t elapsed) {
    // The hours start again at 60, as the readers of the reports expect.
    const auto seconds = static_cast<unsigned long>(std::max<std::time_t>(elapsed, 0));
    return Formatted("%s : %02lu:%02lu:%02lu\n\n", AvGetTranslation("schddmn_str_totaltime"),
                     (seconds / 3600) % 60, (seconds / 60) % 60, seconds % 60);
}

}  // namespace

bool GetAPIVersion(tagZQVERINFO* version) {
    if (version == nullptr) {
        return false;
    }
    const auto record =
        common::ReadVersionRecord(common::InProgramDirectory(common::kVersionFileName));
    *version = record.value_or(tagZQVERINFO{});
    return record.has_value();
}

ScanReports::ScanReports() {
    reports::NewReport report = reports::CreateNewReport(kReportFolder, "schd", "rpt");
    if (report.file) {
        common::CopyToField(m_reportPath, report.path);
        common::CopyToField(m_reportName, report.name);
        m_fd = report.file.Release();
    }
}

ScanReports::ScanReports(common::FileDescriptor report) : m_fd(report.Release()) {}

ScanReports::~ScanReports() {
    if (m_fd > 0) {
        (void)::fchmod(m_fd, 0644);
        ::close(m_fd);
    }
}

int ScanReports::GetReportFile(char* out) const {
    if (out != nullptr) {
        const std::string_view path = common::FieldText(m_reportPath);
        out[path.copy(out, sizeof m_reportPath - 1)] = '\0';
    }
    return 1;
}

bool ScanReports::WriteToFile(const char* text) {
    return text != nullptr && common::WriteAll(m_fd, std::string_view(text));
}

void ScanReports::Write(const std::string& text) {
    (void)common::WriteAll(m_fd, text);
}

int ScanReports::WriteHeader(tagSCNOPTS* options) {
    if (options == nullptr) {
        return 1;
    }
    const unsigned int flags = options->flags;
    m_start = std::time(nullptr);
    WriteHeaderOf("\n" + std::string(AvGetTranslation("schscan_rpt_date_format_2")) +
                      common::FormatTime(kDateAndTime, common::LocalTm(m_start)) + "\n",
                  {.heading = "schddmn_msg_scannersetting",
                   .packed = (flags & kScanPacked) != 0,
                   .archives = (flags & kScanArchives) != 0,
                   .adware = (flags & kScanAdware) != 0,
                   .dumb = (flags & kScanDumb) != 0,
                   .action = IdOfAction(options->action)});
    return 1;
}

int ScanReports::KTX_WriteHeader(unsigned char flags, short action) {
    m_start = std::time(nullptr);
    WriteHeaderOf(AvGetTranslation("\nDate: ") +
                      common::FormatTime(AvGetTranslation(kDateAndTime), common::LocalTm(m_start)) +
                      "\n",
                  {.heading = "schddmn_msg_scannersettig_scannersettingg",
                   .packed = (flags & kKtxScanPacked) != 0,
                   .archives = (flags & kKtxScanArchives) != 0,
                   .adware = (flags & kKtxScanAdware) != 0,
                   .dumb = (flags & kKtxScanDumb) != 0,
                   .action = IdOfKtxAction(action)});
    return 1;
}

void ScanReports::WriteHeaderOf(const std::string& startLine, const Settings& settings) {
    Write(Rule(71) + "\n\n");
    Write(AvGetTranslation("schddmn_msg_rptformscan"));
    Write(startLine);
    WriteVersions();
    Write(Rule(66) + "\n");
    Write(std::string(AvGetTranslation(settings.heading)) + "\n\n");
    Write(OnOff("schddmn_msg_scanpacked", settings.packed));
    Write(OnOff("schddmn_str_scanarchive", settings.archives));
    Write(OnOff("schddmn_str_scanadware", settings.adware));
    Write(OnOff("schddmn_str_dumpscan", settings.dumb) + "\n");
    const std::string heading = std::string(AvGetTranslation(kActionHeading)) + "\n";
    Write(heading);
    // An unknown action repeats the heading: readers of the reports know it by that.
    Write(settings.action == nullptr ? heading
                                     : Formatted("- %s\n", AvGetTranslation(settings.action)));
    Write("\n" + Rule(66) + "\n");
}

void ScanReports::WriteVersions() {
    tagZQVERINFO version{};
    (void)GetAPIVersion(&version);
    std::tm databaseDate{};
    SystemTimeToTm(&version.databaseDate, &databaseDate);
    Write(Formatted("Corvane Endpoint Protection Version %u.%02u\n%s\n\n%s",
                    unsigned{version.major}, unsigned{version.minor}, reports::kLegalNotice,
                    AvGetTranslation("cli_info_virusDb")) +
          common::FormatTime("%d %B, %Y", databaseDate) + "\n\n");
}

int ScanReports::WriteSummary(tagScanCount* count) {
    Write(AvGetTranslation("Scan Complete.\n\n"));
    Write(reports::Section());
    Write(std::string(AvGetTranslation("schddmn_str_scansummery")) + "\n\n");
    Write(CounterLines(count == nullptr ? tagScanCount{} : *count));
    Write(reports::Section());
    Write(Formatted("%s : %s\n", AvGetTranslation("schddmn_str_starttime"),
                    common::FormatTime("%T", common::LocalTm(m_start)).c_str()));
    m_stop = std::time(nullptr);
    Write(Formatted("%s  : %s\n", AvGetTranslation("schddmn_str_stoptime"),
                    common::FormatTime("%T", common::LocalTm(m_stop)).c_str()));
    Write(TotalTime(m_stop - m_start));
    Write(Formatted("** %s **\r\n", AvGetTranslation("schddmn_str_reportend")));
    return 1;
}

int ScanReports::WriteSummary() {
    return WriteSummary(&g_scanCount);
}

bool ScanReports::MakeIndexEntry(tagReportIndexEntry* entry) {
    return reports::AppendScheduledEntry(entry);
}
