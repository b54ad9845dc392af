#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// The indexes "main.rpt" (on-demand scans) and "updt.rpt" (updates): a header of 12 bytes, then one
// record a report in the order in which they were written. Integers are little-endian.

namespace reports {

inline constexpr char kScanIndexName[] = "main.rpt";
inline constexpr char kUpdateIndexName[] = "updt.rpt";

}  // namespace reports

#pragma pack(push, 1)
/// The head of an index, 12 bytes.
struct tagReportIndexHeader {
    char magic[4];           ///< "ZQRF"
    std::uint32_t reserved;  ///< 0
    std::uint32_t count;     ///< how many records follow
};

/// One report, 542 bytes. Texts are zero-padded.
struct tagScanIndexEntry {
    char finished[30];     ///< when the report was finished, as "%d %b, %Y, %r"
    char subject[256];     ///< a scan's first path, or how an update ended
    char reportName[256];  ///< the report's file in "reports/", without the folder
};
#pragma pack(pop)

static_assert(sizeof(tagReportIndexHeader) == 12);
static_assert(offsetof(tagReportIndexHeader, magic) == 0);
static_assert(offsetof(tagReportIndexHeader, reserved) == 4);
static_assert(offsetof(tagReportIndexHeader, count) == 8);
static_assert(sizeof(tagScanIndexEntry) == 542);
static_assert(offsetof(tagScanIndexEntry, finished) == 0);
static_assert(offsetof(tagScanIndexEntry, subject) == 30);
static_assert(offsetof(tagScanIndexEntry, reportName) == 286);

namespace reports {

/// An index without a record.
inline constexpr tagReportIndexHeader kEmptyReportIndex{{'Z', 'Q', 'R', 'F'}, 0, 0};

/// Makes sure that the index at `path` is there: a missing one is created with its header and no
/// record. Either way its mode becomes 0666 where this user may set it.
///
/// False when there is no index that can be opened, and none could be created and given a whole
/// header. Any thread.
bool CreateReportIndex(const char* path);

/// How AppendReportIndexEntry guards the count.
enum class IndexLock {
    kNone,
    kWhileCounting,  ///< locked while the count goes up, not while the record is added
};

/// Adds `entry` at the end of the index at `path` and counts it. Its mode becomes 0666.
///
/// False when the index is missing or cannot be opened, and when the record could not be written
/// whole, as on a full disk: the index is then as it was. Waits for the lock when asked to use it.
/// Any thread.
bool AppendReportIndexEntry(const char* path, const tagScanIndexEntry& entry, IndexLock lock);

/// Records that are read at most. Reports of one kind have 10,000 names, so an index with more than
/// this was not made by us.
inline constexpr std::size_t kMaxIndexRecords = 100'000;

/// What the count in the header says to a reader.
enum class IndexCount {
    kNoneMeansEmpty,  ///< a count of 0 lists nothing; any other is not trusted further
    kIgnored,         ///< the records are read until the file ends
};

/// Reads the records of the index at `path` in file order. A record torn at the end of the file is
/// filled up with zeros. False when the index cannot be opened. Any thread.
bool ReadReportIndex(const char* path, IndexCount count, std::vector<tagScanIndexEntry>& out);

/// Replaces the whole index at `path` by its header and `entries`; its mode becomes 0666.
/// False when it cannot be opened for writing (it is never created here) or not be written whole.
/// Any thread.
bool RewriteReportIndex(const char* path, std::span<const tagScanIndexEntry> entries);

}  // namespace reports
