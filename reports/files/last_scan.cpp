#include "reports/files/last_scan.h"

#include <algorithm>
#include <charconv>
#include <fcntl.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/regular_file.h"
#include "reports/files/report_files.h"

namespace reports {

namespace {

// A summary has some 600 bytes.
constexpr off_t kEndOfReport = 4096;

// The number behind `label` in `summary`.
std::optional<std::uint32_t> Counter(std::string_view summary, std::string_view label) {
    const auto place = summary.find(label);
    if (place == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view rest = summary.substr(place + label.size());
    std::uint32_t number = 0;
    const auto read = std::from_chars(rest.data(), rest.data() + rest.size(), number);
    if (read.ec != std::errc() || read.ptr == rest.data() + rest.size() || *read.ptr != '\n') {
        return std::nullopt;
    }
    return number;
}

// A report may be long, and other users may write to it: only its end is read.
std::string EndOfFile(const std::string& path) {
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kFollow);
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0) {
        return {};
    }
    std::string bytes(static_cast<std::size_t>(std::min(status.st_size, kEndOfReport)), '\0');
    ::lseek(file.Get(), status.st_size - static_cast<off_t>(bytes.size()), SEEK_SET);
    const std::ptrdiff_t size =
        common::ReadFull(file.Get(), std::as_writable_bytes(std::span(bytes)));
    bytes.resize(static_cast<std::size_t>(std::max<std::ptrdiff_t>(size, 0)));
    return bytes;
}

}  // namespace

std::optional<ScanEnding> EndingOf(std::string_view report) {
    // The last ones: what stands before may be the name of a file.
    const auto complete = report.rfind("Scan Complete.\n");
    const auto interrupted = report.rfind("Scan Interrupted.\n");
    const auto summary = report.rfind("Scan Summary\n");
    if (summary == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view counters = report.substr(summary);
    const auto infected = Counter(counters, "\nTotal Virus Found     = ");
    const auto unreadable = Counter(counters, "\nTotal I/O Errors      = ");
    if (!infected || !unreadable) {
        return std::nullopt;
    }
    const bool isInterrupted = interrupted != std::string_view::npos &&
                               (complete == std::string_view::npos || interrupted > complete);
    return ScanEnding{isInterrupted, *infected, *unreadable};
}

std::optional<LastScan> ReadLastScan() {
    const auto listed = ListReports(kScanReports, IndexCount::kNoneMeansEmpty);
    if (!listed || listed->empty()) {
        return std::nullopt;
    }
    const ReportListing& last = listed->back();
    const auto path = ReportPath(kScanReports, last.report);
    return LastScan{last.finished, path ? EndingOf(EndOfFile(*path)) : std::nullopt};
}

}  // namespace reports
