#pragma once

#include <memory>

#include "common/run_state.h"
#include "reports/files/report_generator.h"

namespace scan {

/// What a scan changes, by names that say what it is. The storage are the globals that other code
/// links; they live as long as the process and hold the last run's values between two runs.
struct ScanState {
    std::atomic<std::uint32_t>& scanned = g_uiTotCnt;
    std::atomic<std::uint32_t>& infected = g_uiInfCnt;
    std::atomic<std::uint32_t>& deleted = g_uiDeleCnt;
    std::atomic<std::uint32_t>& repaired = g_uiReprCnt;
    std::atomic<std::uint32_t>& skipped = g_uiSkipCnt;
    std::atomic<std::uint32_t>& unreadable = g_uiIOErrCnt;
    std::atomic<std::uint64_t>& total = g_totalfilestoscan;  ///< of the progress bar
    std::atomic<bool>& stopCount = StopCount;

    char (&startTime)[sizeof g_szStrTime] = g_szStrTime;
    char (&endTime)[sizeof g_szEndTime] = g_szEndTime;
    double& seconds = g_dDiffTime;

    const tagSCNOPTS& settings = g_scnopts;
    tagMYSCNOPTS& answer = g_myScnopts;  ///< to the virus prompt
    const tagZQFILEINFO*& askedAbout = g_zqFileInfo;

    std::atomic<std::int32_t>& cleanFiles = g_iCleanFileSeqCnt;
    std::atomic<std::int32_t>& detectionKinds = g_iCntLabViruses;

    std::unique_ptr<ReportGen>& report = g_pRptObj;  ///< null: nothing is written
};

}  // namespace scan
