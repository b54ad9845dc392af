#include "product/shared_files/shared_files.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "abi/system_time.h"
#include "abi/updturl.h"
#include "common/io.h"
#include "common/nibble_swap.h"
#include "common/scan_settings.h"
#include "common/version_record.h"
#include "reports/files/report_index.h"
#include "reports/virus_log/log_files.h"
#include "update/files/admin_links.h"
#include "update/files/update_links.h"
#include "update/files/update_options.h"

namespace shared_files {

namespace {

// Everybody's: every user may change them.
constexpr mode_t kShared = 0666;
constexpr mode_t kReadable = 0644;

/// What writes the virus definitions, and what loads them from outside into its own folder only.
constexpr Owner kUpdater{"corvane"};
constexpr Owner kFetcher{"corvane-fetch", "corvane"};

// What the virus database that comes along says of itself: of Saturday, 21 November 2026.
constexpr tagZQVERINFO kDatabaseVersion{2026, 11, {2026, 11, 6, 21, 0, 0, 0, 0}};

// When the virus log is cut, and to how many records.
constexpr std::string_view kLogLimits = "[LOGLIMIT]\nMAXLIMIT = 10000\nLIMIT = 5000\n";

// Where a machine that nobody has set up gets its definitions.
constexpr std::string_view kOfficialMirror = "https://database.clamav.net";

bool WriteUpdateLinks(int fd) {
    const std::string mirror(kOfficialMirror);
    return common::WriteAll(fd, update::UpdateLinkFile(std::span(&mirror, 1)));
}

// No address yet. Without the file, an administrator's list could not be told from a broken one.
bool WriteAdminLinks(int fd) {
    tagADMNURLRECORD record{};
    record.kind = update::kAdminRecordKind;
    record.created = {2026, 11, 6, 21, 0, 0, 0, 0};
    record.value18 = update::kAdminRecordValue18;
    record.value22 = update::kAdminRecordValue22;
    Encrypt(reinterpret_cast<unsigned char*>(&record), sizeof record);
    return common::WriteAll(fd, common::BytesOf(record));
}

bool WriteInternetSettings(int fd) {
    return common::WriteAll(fd, common::BytesOf(tagZQINETCONFIG{}));
}

bool WriteIndex(int fd) {
    return common::WriteAll(fd, common::BytesOf(reports::kEmptyReportIndex));
}

// The head of an index of scheduled scans without a record, and a list of no bookmarks.
constexpr std::int32_t kScheduledHeaderSize = 19;
constexpr std::int32_t kEmptyListSize = 4;
constexpr char kZeros[kScheduledHeaderSize]{};

bool WriteNothing(int) {
    return true;
}

constexpr SharedFile kProgramFiles[] = {
    // One byte already holds a choice of somebody's.
    {"zqscn.opt", kShared, 1,
     [](int fd) { return common::WriteAll(fd, common::BytesOf(common::kDefaultScanSettings)); }},
    {reports::kScanIndexName, kShared, sizeof(tagReportIndexHeader), WriteIndex},
    {reports::kUpdateIndexName, kShared, sizeof(tagReportIndexHeader), WriteIndex},
    // Without the paths they are empty. The update services see to it that everybody may open them,
    // whoever has changed the mode.
    {"zqupdate.opt", kShared, offsetof(tagUpdtOpts, path),
     [](int fd) { return common::WriteAll(fd, common::BytesOf(update::kInstalledUpdateOptions)); },
     kUpdater},
    {"zqinet.opt", kShared, sizeof(tagZQINETCONFIG), WriteInternetSettings},
    {update::kUpdateLinkFileName, kReadable, sizeof(tagUPDLINKHEADER), WriteUpdateLinks},
    // Its reader opens it for writing too.
    {update::kAdminLinkFileName, kReadable, sizeof(tagADMNURLRECORD), WriteAdminLinks, kUpdater},
    {"updt.lck", kShared, 0, WriteNothing},
    // The help viewer's. Nobody but root could make it.
    {".bookmarks", kShared, kEmptyListSize,
     [](int fd) { return common::WriteAll(fd, std::string_view(kZeros, kEmptyListSize)); }},
    {"section.ini", kReadable, 1, [](int fd) { return common::WriteAll(fd, kLogLimits); }},
};

constexpr SharedFolder kProgramFolders[] = {
    // Everybody's reports and scratch files lie in these two, each removable by its owner only.
    {kReportsFolder, 01777},
    {"tmp", 01777},
    // What is made in there is the updater's to read: it gets the folder's group.
    {"download", 02750, kFetcher},
    {kDefinitionsFolder, 0755, kUpdater},
};

// Whoever makes it first, it is the updater's: nobody else could lock it then, nor open it.
constexpr SharedFile kDefinitionsFiles[] = {
    {"lock", 0600, 0, WriteNothing, kUpdater},
};

constexpr SharedFile kPackageFiles[] = {
    {common::kVersionFileName, kReadable, sizeof(tagZQVERINFO),
     [](int fd) { return common::WriteAll(fd, common::BytesOf(kDatabaseVersion)); }, kUpdater},
};

constexpr char kScheduledIndexName[] = "schdmain.rpt";

constexpr SharedFile kReportsFiles[] = {
    {virus_log::kMainFile, kShared, sizeof(tagVIRMAIN), RestoreMainFileHeader},
    // Whoever logs first writes the head.
    {virus_log::kRecordFile, kShared, 0, WriteNothing},
    {virus_log::kOffsetFile, kShared, 0, WriteNothing},
    // The scheduler writes it, and everybody could make it where it is missing.
    {kScheduledIndexName, kReadable, kScheduledHeaderSize,
     [](int fd) { return common::WriteAll(fd, std::string_view(kZeros, kScheduledHeaderSize)); }},
};

}  // namespace

std::span<const SharedFile> ProgramFiles() {
    return kProgramFiles;
}

std::span<const SharedFolder> ProgramFolders() {
    return kProgramFolders;
}

std::span<const SharedFile> ReportsFiles() {
    return kReportsFiles;
}

std::span<const SharedFile> DefinitionsFiles() {
    return kDefinitionsFiles;
}

std::span<const SharedFile> PackageFiles() {
    return kPackageFiles;
}

}  // namespace shared_files
