#include "product/schdlscn/kept_report.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <vector>

#include "common/text_field.h"
#include "product/schdlscn/new_report.h"
#include "reports/files/scheduled_index.h"

namespace schdlscn {

namespace {

constexpr mode_t kReportMode = 0644;

std::string Join(const std::vector<std::string>& folders) {
    std::string joined;
    for (const std::string& folder : folders) {
        joined += (joined.empty() ? "" : ";") + folder;
    }
    return joined;
}

std::string LocalTime(std::time_t moment) {
    ::tzset();
    std::tm local{};
    ::localtime_r(&moment, &local);
    std::array<char, 64> text{};
    const std::size_t size = std::strftime(text.data(), text.size(), "%d %b, %Y, %r", &local);
    return {text.data(), size};
}

common::FileDescriptor OpenFolder(const ReportFile& report) {
    return common::FileDescriptor(
        ::open(report.folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// The time of the report is that of its end.
void List(const ReportFile& report, std::time_t time, const Task& task) {
    tagReportIndexEntry entry{};
    common::CopyToUnterminatedField(entry.dateTime, LocalTime(time));
    common::CopyToUnterminatedField(entry.scanned, Join(task.folders));
    common::CopyToField(entry.reportPath, report.folder + report.name);
    entry.userId = task.owner;
    if (!reports::AppendScheduledEntry(&entry)) {
        ::syslog(LOG_ERR, "%s cannot be listed", report.name.c_str());
    }
}

bool IsListed(const ReportFile& report, uid_t owner) {
    std::vector<tagReportIndexEntry> entries;
    unsigned int error = kIndexOk;
    (void)ReadIndexEntry(reports::kScheduledIndexKind, entries, 0, &error);
    return std::any_of(entries.begin(), entries.end(), [&](const tagReportIndexEntry& entry) {
        return entry.userId == owner &&
               common::FieldText(entry.reportPath) == report.folder + report.name;
    });
}

/// Without a word in it, it is removed.
bool HasText(const ReportFile& report, const struct stat& status, uid_t owner) {
    if (status.st_size != 0) {
        return true;
    }
    if (const common::FileDescriptor folder = OpenFolder(report)) {
        (void)RemoveReport(folder.Get(), owner, report.name);
    }
    return false;
}

}  // namespace

bool KeepReport(const ReportFile& report, const common::FileDescriptor& file, const Task& task) {
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0 || !HasText(report, status, task.owner)) {
        return false;
    }
    (void)::fchmod(file.Get(), kReportMode);
    List(report, std::time(nullptr), task);
    return true;
}

bool KeepLeftReport(const ReportFile& report, const Task& task) {
    const common::FileDescriptor folder = OpenFolder(report);
    const common::FileDescriptor file =
        folder ? OpenReport(folder.Get(), task.owner, report.name) : common::FileDescriptor();
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0 || !HasText(report, status, task.owner)) {
        return false;
    }
    (void)::fchmod(file.Get(), kReportMode);
    if (!IsListed(report, task.owner)) {
        List(report, status.st_mtime, task);
    }
    return true;
}

ScheduleError DeleteReport(const ReportFile& report, uid_t user) {
    if (report.name.empty() || report.name.find('/') != std::string::npos) {
        return kScheduleNoSuchReport;
    }
    std::vector<tagReportIndexEntry> entries;
    unsigned int error = kIndexOk;
    if (!ReadIndexEntry(reports::kScheduledIndexKind, entries, 0, &error)) {
        return error == kIndexMissing ? kScheduleNoSuchReport : kScheduleListUnusable;
    }
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& entry) {
        return (user == 0 || entry.userId == user) &&
               common::FieldText(entry.reportPath) == report.folder + report.name;
    });
    if (found == entries.end()) {
        return kScheduleNoSuchReport;
    }
    if (const common::FileDescriptor folder = OpenFolder(report)) {
        (void)RemoveReport(folder.Get(), found->userId, report.name);
    }
    entries.erase(found);
    return WriteIndexEntry(reports::kScheduledIndexKind, entries, &error) ? kScheduleOk
                                                                          : kScheduleListUnusable;
}

}  // namespace schdlscn
