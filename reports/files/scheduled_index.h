#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// One report of a scheduled scan as the index lists it, 1,316 bytes. Texts are zero-padded bytes
/// and need not be terminated when they fill their field.
struct tagReportIndexEntry {
    char dateTime[32];
    char scanned[256];      ///< what was scanned
    char reportPath[1024];  ///< full path of the report; the key for deletion
    std::uint32_t userId;   ///< who owns the scheduled scan
};

static_assert(sizeof(tagReportIndexEntry) == 1316);
static_assert(offsetof(tagReportIndexEntry, dateTime) == 0);
static_assert(offsetof(tagReportIndexEntry, scanned) == 32);
static_assert(offsetof(tagReportIndexEntry, reportPath) == 288);
static_assert(offsetof(tagReportIndexEntry, userId) == 1312);

/// Why an operation on the scheduled-scan index failed; 0 is success.
enum ReportIndexError : unsigned int {
    kIndexOk = 0,
    kIndexMissing = 1001,
    kIndexOpenFailed = 1002,
    kIndexSeekFailed = 1004,
    kIndexHeaderUnreadable = 1005,
    kIndexNoSuchReport = 1025,
    kIndexNullPath = 2021,
};

namespace reports {

inline constexpr char kScheduledIndexPath[] = "/usr/lib/Corvane/Corvane/reports/schdmain.rpt";

/// The first argument of the index functions; they do not use it.
inline constexpr short kScheduledIndexKind = 1001;

/// Appends one record to the index, creating that when it is missing. False for a null entry and
/// when the index cannot be written. Takes no lock.
bool AppendScheduledEntry(const tagReportIndexEntry* entry);

/// Records that are read at most. Reports of scheduled scans have 10,000 names, so an index with
/// more than this was not made by us.
inline constexpr std::size_t kMaxScheduledRecords = 100'000;

}  // namespace reports

/// Appends the index's records to `out` in file order: those of user `uid`, or all when `uid` is 0.
/// The count in the header is not consulted, and a record that somebody is just appending is passed
/// over. False with the reason in `*err`; a null `err` fails.
bool ReadIndexEntry(short kind, std::vector<tagReportIndexEntry>& out, unsigned int uid,
                    unsigned int* err);

/// Replaces the whole index by `entries` under the file's lock. False with the reason in `*err`; a
/// null `err` fails. A write that fails leaves `*err` 0 and the index with what was written so far
/// over its start, and behind that what it held.
bool WriteIndexEntry(short kind, std::vector<tagReportIndexEntry>& entries, unsigned int* err);

/// Deletes the first report at `path` that belongs to `uid` (to anyone when `uid` is 0), and its
/// record. For any other user than 0 the rewritten index keeps only that user's records. False with
/// the reason in `*err`; a null `err` fails.
bool DeleteReportForFile(short kind, const char* path, unsigned int uid, unsigned int* err);
