#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <sys/types.h>

#include "abi/scanapi.h"
#include "common/scan_settings.h"

// State of the process and of the scan run that more than one room reads.

// Set at start-up, then only read.
extern pid_t g_pCurrproc_pid;  ///< this process, as registered with the on-access service
extern char g_szAppPath[256];  ///< the application directory, always ending in "/"
extern char g_szLogFile[256];  ///< the diagnostic log, empty until start-up has set it

/// The settings in force. Written by the GUI thread while no scan runs, read by the scan thread.
extern tagSCNOPTS g_scnopts;

/// The loaded engine library and its version entry point; null while no engine is loaded.
extern void* g_hModScanAPI;
extern PFNGETVER pfnGetVer;

// Counters of the run, zeroed when it starts.
extern std::atomic<std::uint32_t> g_uiTotCnt;          ///< scanned
extern std::atomic<std::uint32_t> g_uiInfCnt;          ///< infected
extern std::atomic<std::uint32_t> g_uiDeleCnt;         ///< deleted
extern std::atomic<std::uint32_t> g_uiReprCnt;         ///< repaired
extern std::atomic<std::uint32_t> g_uiSkipCnt;         ///< skipped
extern std::atomic<std::uint32_t> g_uiIOErrCnt;        ///< unreadable
extern std::atomic<std::uint64_t> g_totalfilestoscan;  ///< the progress bar's total
extern std::atomic<bool> StopCount;                    ///< counting or scanning is to end

// Times of the run, written by the scan thread before it posts the end of the scan.
extern char g_szStrTime[100];  ///< "Start Time : %H:%M:%S\r\n"
extern char g_szEndTime[100];  ///< "End Time :  %H:%M:%S\r\n"
extern double g_dDiffTime;     ///< seconds between the two

namespace common {

/// Zeroes the six counters.
void ResetRunCounters();

}  // namespace common

/// Clean files seen since the run started, -1 once a detection has been reported. 0 when a run is
/// started. Scan thread.
extern std::atomic<std::int32_t> g_iCleanFileSeqCnt;

namespace common {

/// One kind of detection, as it is told apart in a run.
struct LabDetectionKind {
    std::uint16_t subClass;
    std::uint16_t detectionClass;
};

/// How many kinds a run records. With the last of them the scan turns the lab scan flag on.
inline constexpr std::int32_t kLabDetectionKinds = 10;

}  // namespace common

/// The distinct kinds of detection reported in this run, and how many there are; none when a run is
/// started. Scan thread.
extern std::atomic<std::int32_t> g_iCntLabViruses;
extern std::array<common::LabDetectionKind, common::kLabDetectionKinds> g_LabScanData;

namespace common {

/// Zeroes the two counts of the detections that are told apart.
void ResetDetectionCounters();

}  // namespace common

/// Woken when the user has answered: what a scan waits on for the user.
extern std::condition_variable g_waitForPrompt;

/// The user's choice in the virus prompt; zeroed when a run starts. Written by the GUI thread while
/// the scan thread waits for it.
extern tagMYSCNOPTS g_myScnopts;

/// The last choice made in the prompt; the next prompt, in a later scan too, starts from it.
/// GUI thread only.
extern std::int32_t g_scnActn;

/// The detection that is being asked about, null when none is. GUI thread only.
extern const tagZQFILEINFO* g_zqFileInfo;

// The report that the viewer shows. GUI thread only.
extern char g_szRptName[50];    ///< its name, at most 49 characters
extern char g_szRptPath[1024];  ///< its full path

/// What the reports page lists.
enum ReportKind : short {
    kScanReports = 0,
    kUpdateReports = 1,
    kScheduledReports = 2,
};
extern short g_siRptKind;
