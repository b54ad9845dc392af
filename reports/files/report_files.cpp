#include "reports/files/report_files.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"
#include "common/text_field.h"
#include "reports/files/scheduled_index.h"

namespace reports {

namespace {

// Larger files are no reports of ours; a report of a million files is a tenth of it. Every user may
// write to a report, and one made endless must not take the memory.
constexpr std::size_t kMaxReportBytes = std::size_t{512} << 20U;

std::optional<std::vector<ReportListing>> ListScheduledReports() {
    std::vector<tagReportIndexEntry> entries;
    unsigned int err = kIndexOk;
    if (!ReadIndexEntry(kScheduledIndexKind, entries, getuid(), &err) && err != kIndexMissing) {
        return std::nullopt;
    }
    std::vector<ReportListing> listed;
    listed.reserve(entries.size());
    for (const tagReportIndexEntry& entry : entries) {
        listed.push_back({std::string(common::FieldText(entry.dateTime)),
                          std::string(common::FieldText(entry.scanned)),
                          std::string(common::FieldText(entry.reportPath))});
    }
    return listed;
}

}  // namespace

std::string ReportIndexPath(ReportKind kind) {
    return common::InProgramDirectory(kind == kUpdateReports ? kUpdateIndexName : kScanIndexName);
}

std::optional<std::vector<ReportListing>> ListReports(ReportKind kind, IndexCount count) {
    if (kind == kScheduledReports) {
        return ListScheduledReports();
    }
    std::vector<tagScanIndexEntry> entries;
    if (!ReadReportIndex(ReportIndexPath(kind).c_str(), count, entries)) {
        return std::nullopt;
    }
    std::vector<ReportListing> listed;
    listed.reserve(entries.size());
    for (const tagScanIndexEntry& entry : entries) {
        listed.push_back({std::string(common::FieldText(entry.finished)),
                          std::string(common::FieldText(entry.subject)),
                          std::string(common::FieldText(entry.reportName))});
    }
    return listed;
}

std::optional<std::string> ReportPath(ReportKind kind, std::string_view report) {
    if (report.empty()) {
        return std::nullopt;
    }
    if (kind == kScheduledReports) {
        return std::string(report);
    }
    if (report.find('/') != std::string_view::npos || report == "." || report == "..") {
        return std::nullopt;
    }
    return common::InProgramDirectory("reports/").append(report);
}

std::optional<std::string> ReadReportText(const std::string& path) {
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kFollow);
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0) {
        return std::nullopt;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > kMaxReportBytes) {
        return std::nullopt;
    }
    std::string text;
    text.reserve(size);
    std::array<char, 65536> block;
    while (true) {
        const std::ptrdiff_t got =
            common::ReadFull(file.Get(), std::as_writable_bytes(std::span(block)));
        if (got < 0 || text.size() > kMaxReportBytes) {
            return std::nullopt;
        }
        if (got == 0) {
            break;
        }
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    // The carriage return before a line's end goes, as everywhere where a report is read as text.
    std::size_t kept = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') {
            text[kept++] = text[i];
        }
    }
    text.resize(kept);
    return text;
}

}  // namespace reports
