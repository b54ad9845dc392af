#include "product/shared_files/shared_files.h"

#include <cstddef>
#include <string_view>

#include "abi/system_time.h"
#include "common/io.h"
#include "common/scan_settings.h"
#include "common/version_record.h"
#include "reports/files/report_index.h"
#include "reports/virus_log/log_files.h"
#include "update/files/update_options.h"

namespace shared_files {

namespace {

// Everybody's: every user may change them.
constexpr mode_t kShared = 0666;
constexpr mode_t kReadable = 0644;

// What the virus database that comes along says of itself: of Saturday, 21 November 2026.
constexpr tagZQVERINFO kDatabaseVersion{2026, 11, {2026, 11, 6, 21, 0, 0, 0, 0}};

// When the virus log is cut, and to how many records.
constexpr std::string_view kLogLimits = "[LOGLIMIT]\nMAXLIMIT = 10000\nLIMIT = 5000\n";

bool WriteIndex(int fd) {
    return WriteAll(fd, BytesOf(kEmptyReportIndex));
}

bool WriteNothing(int) {
    return true;
}

constexpr SharedFile kProgramFiles[] = {
    // One byte already holds a choice of somebody's.
    {"zqscn.opt", kShared, 1, [](int fd) { return WriteAll(fd, BytesOf(kDefaultScanSettings)); }},
    {kScanIndexName, kShared, sizeof(tagReportIndexHeader), WriteIndex},
    {kUpdateIndexName, kShared, sizeof(tagReportIndexHeader), WriteIndex},
    // Without the paths they are empty.
    {"zqupdate.opt", kShared, offsetof(tagUpdtOpts, path),
     [](int fd) { return WriteAll(fd, BytesOf(kStartUpdateOptions)); }},
    {kVersionFileName, kReadable, sizeof(tagZQVERINFO),
     [](int fd) { return WriteAll(fd, BytesOf(kDatabaseVersion)); }},
    {"section.ini", kReadable, 1, [](int fd) { return WriteAll(fd, kLogLimits); }},
};

constexpr SharedFile kReportsFiles[] = {
    {kMainFile, kShared, sizeof(tagVIRMAIN), RestoreMainFileHeader},
    // Whoever logs first writes the head.
    {kRecordFile, kShared, 0, WriteNothing},
    {kOffsetFile, kShared, 0, WriteNothing},
};

}  // namespace

std::span<const SharedFile> ProgramFiles() {
    return kProgramFiles;
}

std::span<const SharedFile> ReportsFiles() {
    return kReportsFiles;
}

}  // namespace shared_files
