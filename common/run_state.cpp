#include "common/run_state.h"

pid_t g_pCurrproc_pid = 0;
char g_szAppPath[256]{};
char g_szLogFile[256]{};

tagSCNOPTS g_scnopts = common::kDefaultScanSettings;
void* g_hModScanAPI = nullptr;
PFNGETVER pfnGetVer = nullptr;

std::atomic<std::uint32_t> g_uiTotCnt{0};
std::atomic<std::uint32_t> g_uiInfCnt{0};
std::atomic<std::uint32_t> g_uiDeleCnt{0};
std::atomic<std::uint32_t> g_uiReprCnt{0};
std::atomic<std::uint32_t> g_uiSkipCnt{0};
std::atomic<std::uint32_t> g_uiIOErrCnt{0};
std::atomic<std::uint64_t> g_totalfilestoscan{0};
std::atomic<bool> StopCount{false};

char g_szStrTime[100]{};
char g_szEndTime[100]{};
double g_dDiffTime = 0.0;

void common::ResetRunCounters() {
    for (auto* counter :
         {&g_uiTotCnt, &g_uiInfCnt, &g_uiDeleCnt, &g_uiReprCnt, &g_uiSkipCnt, &g_uiIOErrCnt}) {
        *counter = 0;
    }
}

std::atomic<std::int32_t> g_iCleanFileSeqCnt{0};
std::atomic<std::int32_t> g_iCntLabViruses{0};
std::array<common::LabDetectionKind, common::kLabDetectionKinds> g_LabScanData{};

void common::ResetDetectionCounters() {
    g_iCleanFileSeqCnt = 0;
    g_iCntLabViruses = 0;
}

std::condition_variable g_waitForPrompt;
tagMYSCNOPTS g_myScnopts{};
std::int32_t g_scnActn = 1;
const tagZQFILEINFO* g_zqFileInfo = nullptr;

char g_szRptName[50]{};
char g_szRptPath[1024]{};
short g_siRptKind = kScanReports;
