#include "reports/files/update_report.h"

#include <ctime>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "common/engine_version.h"
#include "common/io.h"
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
    const VersionTexts now = TextsOf(EngineVersion());
    std::string text = "\nCorvane is Successfully updated \n\nFrom Version :";
    text.append(FieldText(g_szOldVersion));
    text.append("\nVirus database :");
    text.append(FieldText(g_szOldDbDate)).append(FieldText(g_szOldDbTime));
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

void CaptureOldVersion() {
    const VersionTexts texts = TextsOf(EngineVersion());
    CopyToField(g_szOldVersion, texts.version);
    CopyToField(g_szOldDbDate, texts.date);
    CopyToField(g_szOldDbTime, texts.time);
}

bool WriteUpdtFile(const char* status) {
    if (status == nullptr) {
        return false;
    }
    NewReport report = CreateNewReport("updt");
    if (!report.file) {
        return false;
    }
    WriteAll(report.file.Get(), ReportText(status));
    fchmod(report.file.Get(), 0666);
    report.file.Reset();

    tagScanIndexEntry entry{};
    CopyToField(entry.finished, FormatTime("%d %b, %Y, %r", LocalTm(std::time(nullptr))));
    CopyToField(entry.subject, status);
    CopyToField(entry.reportName, report.name);
    // Not locked: updates hold a lock of their own, so no two of them end at once.
    return AppendReportIndexEntry(ReportIndexPath(kUpdateReports).c_str(), entry, IndexLock::kNone);
}
