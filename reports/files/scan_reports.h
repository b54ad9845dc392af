#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

#include "abi/system_time.h"
#include "common/file_descriptor.h"
#include "common/scan_settings.h"
#include "reports/files/scheduled_index.h"

/// What one scheduled scan has counted.
struct tagScanCount {
    std::uint32_t scanned;
    std::uint32_t found;
    std::uint32_t repaired;
    std::uint32_t deleted;
    std::uint32_t skipped;
    std::uint32_t ioErrors;
};

static_assert(sizeof(tagScanCount) == 24);
static_assert(offsetof(tagScanCount, scanned) == 0);
static_assert(offsetof(tagScanCount, found) == 4);
static_assert(offsetof(tagScanCount, repaired) == 8);
static_assert(offsetof(tagScanCount, deleted) == 12);
static_assert(offsetof(tagScanCount, skipped) == 16);
static_assert(offsetof(tagScanCount, ioErrors) == 20);

/// The counters of the thread that scans, zero when it starts.
extern thread_local tagScanCount g_scanCount;

/// The bits of ScanReports::KTX_WriteHeader, in another order than those of the settings.
enum KtxScanFlag : unsigned char {
    kKtxScanPacked = 1,
    kKtxScanArchives = 2,
    kKtxScanAdware = 4,
    kKtxScanDumb = 8,
};

/// The actions of ScanReports::KTX_WriteHeader.
enum KtxScanAction : short {
    kKtxRepairOnly = 1,
    kKtxDelete = 2,
    kKtxReportOnly = 3,
    kKtxRepairOrDelete = 4,
};

/// Reads the version of the virus database, the first 20 bytes of "scanver.cnf" in the program
/// directory, into `version`, which is all zero when that fails. False for a null argument and when
/// the file is missing, cannot be opened or is shorter. Any thread.
bool GetAPIVersion(tagZQVERINFO* version);

/// Writes the report of one scheduled scan, in the words of the message catalogue: one header, what
/// the scan has to tell, one summary, the entry in the index of scheduled scans.
///
/// A write that fails leaves a shorter report, and without a report every write does nothing: no
/// scan ends because its report cannot be kept. One thread at a time, and while no other thread
/// formats text: the words are looked up by AvGetTranslation.
class ScanReports {
public:
    /// Makes a report in the folder of the scheduled scans, "schdNNNN.rpt", with mode 0600. Where
    /// that fails there is none, and its path is empty.
    ScanReports();

    /// Writes into a report that somebody else has made and lists: `report` is open for writing.
    explicit ScanReports(common::FileDescriptor report);

    /// Closes the report; its mode becomes 0644.
    ~ScanReports();

    ScanReports(const ScanReports&) = delete;
    ScanReports& operator=(const ScanReports&) = delete;

    /// Copies the full path, at most 1,023 bytes and their terminator, into `out`, which may be
    /// null. Always 1.
    int GetReportFile(char* out) const;

    /// Writes `text` as it is, without its terminator. Whether the whole of it was written; false
    /// for null.
    bool WriteToFile(const char* text);

    /// Notes the start of the scan and writes the header, with the settings of `options`: nothing
    /// when that is null. An unknown action repeats the heading above it. Always 1.
    int WriteHeader(tagSCNOPTS* options);

    /// The same for KtxScanFlag bits and a KtxScanAction.
    int KTX_WriteHeader(unsigned char flags, short action);

    /// Notes the end of the scan and writes the summary of these counters; of null, all zero.
    /// Always 1.
    int WriteSummary(tagScanCount* count);

    /// The same of this thread's g_scanCount.
    int WriteSummary();

    /// Appends one record to the index, creating that when it is missing. False for a null entry
    /// and when the index cannot be written. Takes no lock.
    bool MakeIndexEntry(tagReportIndexEntry* entry);

private:
    /// The settings as a header names them.
    struct Settings {
        const char* heading;  ///< a message id, like `action`
        bool packed;
        bool archives;
        bool adware;
        bool dumb;
        const char* action;  ///< null: unknown
    };

    void WriteHeaderOf(const std::string& startLine, const Settings& settings);
    void WriteVersions();
    void Write(const std::string& text);

    std::time_t m_start = 0;
    std::time_t m_stop = 0;
    char m_reportPath[1024]{};
    char m_reportName[1024]{};
    int m_fd = -1;
};
