#include "reports/files/update_report.h"

#include <ctime>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "common/engine_version.h"
#include "common/io.h"
#include "common/retrying.h"
#include "common/text_field.h"
#include "common/times.h"
#include "common/version_texts.h"
#include "reports/files/new_report.h"
#include "reports/files/report_files.h"
#include "reports/files/report_index.h"

char g_szOldVersion[100];
char g_szOldDbDate[100];
char g_szOldDbTime[100];

namespace {

std::string UpdatedText() {
    const common::VersionTexts now = common::TextsOf(common::EngineVersion());
    std::string text = "\nCorvane is Successfully updated \n\nFrom Version :";
    text.append(common::FieldText(g_szOldVersion));
    text.append("\nVirus database :");
    text.append(common::FieldText(g_szOldDbDate)).append(common::FieldText(g_szOldDbTime));
    text.append("\nTo Version :").append(now.version);
    text.append("\nVirus database :").append(now.date).append(now.time);
    return text;
}

std::string ReportText(std::string_view status) {
    if (status == "UPDATED SUCCESSFULLY") {
        return UpdatedText();
    }
    if (status == "UP-TO-DATE") {
        return "The Version of Corvane you have is up-to-date.\n "
               "Use Rapid Update regularly to keep your copy updated.\n";
    }
    return "Error retrieving updates.";
}

}  // namespace

void reports::CaptureOldVersion() {
    const common::VersionTexts texts = common::TextsOf(common::EngineVersion());
    common::CopyToField(g_szOldVersion, texts.version);
    common::CopyToField(g_szOldDbDate, texts.date);
    common::CopyToField(g_szOldDbTime, texts.time);
}

bool WriteUpdtFile(const char* status) {
    if (status == nullptr) {
        return false;
    }
    reports::NewReport report = reports::CreateNewReport("updt");
    if (!report.file) {
        return false;
    }
    common::WriteAll(report.file.Get(), ReportText(status));
    (void)common::Retrying([&] { return ::fchmod(report.file.Get(), 0666); });
    report.file.Reset();

    tagScanIndexEntry entry{};
    common::CopyToField(entry.finished,
                        common::FormatTime("%d %b, %Y, %r", common::LocalTm(std::time(nullptr))));
    common::CopyToField(entry.subject, status);
    common::CopyToField(entry.reportName, report.name);
    // Not locked: updates hold a lock of their own, so no two of them end at once.
    return reports::AppendReportIndexEntry(reports::ReportIndexPath(kUpdateReports).c_str(), entry,
                                           reports::IndexLock::kNone);
}
