#include "scan/scanner.h"

#include <string>
#include <string_view>

#include <QDialog>

#include "common/libraries.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "scan/engine_callback.h"

tagSCANAPI_OPTIONS Scanner::m_ScanOptns{};
std::int16_t Scanner::m_shAction = 0;

namespace {

constexpr std::uint16_t kAdwareOn = 7;
constexpr std::uint16_t kAdwareOff = 3;

// The engine's entry points, all null while no engine is loaded; pfnGetVer is the ninth.
PFNINITSCAN pfnInit = nullptr;
PFNDEINITSCAN pfnDeinit = nullptr;
PFNSETCALLBACK pfnSetclbk = nullptr;
PFNSETOPTIONS pfnSetoptns = nullptr;
PFNOPENFILE pfnOpen = nullptr;
PFNCLOSEFILE pfnClose = nullptr;
PFNSCANFILEEX pfnScan = nullptr;
PFNRESETFPTFLAGS pfnResetFPTFlags = nullptr;

template <typename Function>
bool LookUp(const char* symbol, Function& pointer) {
    pointer = reinterpret_cast<Function>(ZQGetProcAddress(g_hModScanAPI, symbol));
    return pointer != nullptr;
}

bool LookUpEntryPoints() {
    return LookUp("ZqInitScan", pfnInit) && LookUp("ZqDeinitScan", pfnDeinit) &&
           LookUp("ZqGetAPIVersion", pfnGetVer) && LookUp("ZqSetCallBack", pfnSetclbk) &&
           LookUp("ZqSetOptions", pfnSetoptns) && LookUp("ZqOpenFile", pfnOpen) &&
           LookUp("ZqCloseFile", pfnClose) && LookUp("ZqScanFileEx", pfnScan) &&
           LookUp("ZqResetFPTFlags", pfnResetFPTFlags);
}

void FreeEngineLibrary() {
    pfnInit = nullptr;
    pfnDeinit = nullptr;
    pfnGetVer = nullptr;
    pfnSetclbk = nullptr;
    pfnSetoptns = nullptr;
    pfnOpen = nullptr;
    pfnClose = nullptr;
    pfnScan = nullptr;
    pfnResetFPTFlags = nullptr;
    ZQFreeLibrary(g_hModScanAPI);
    g_hModScanAPI = nullptr;
}

std::uint16_t FlagWord(const tagSCNOPTS& settings, ScanFlag flag, std::uint16_t on,
                       std::uint16_t off) {
    return (settings.flags & flag) != 0 ? on : off;
}

void TakeSettings(const tagSCNOPTS& settings, std::uint16_t adwareOff) {
    tagSCANAPI_OPTIONS& options = Scanner::m_ScanOptns;
    options.scanArchives = FlagWord(settings, kScanArchives, 1, 0);
    options.adwareLevel = FlagWord(settings, kScanAdware, kAdwareOn, adwareOff);
    options.dumbScan = FlagWord(settings, kScanDumb, 1, 0);
    options.scanPacked = FlagWord(settings, kScanPacked, 1, 0);
    Scanner::m_shAction = static_cast<std::int16_t>(settings.action);
}

/// False when a directory does not fit its field.
bool BuildOptions(const tagSCNOPTS& settings, std::string_view applicationDirectory) {
    tagSCANAPI_OPTIONS& options = Scanner::m_ScanOptns;
    options = {};
    options.size = sizeof(options);
    options.fixed1 = 1;
    options.fixed2 = 5;
    // The application directory ends in "/" already: the engine has always been given "//tmp".
    const std::string temporaryDirectory = std::string(applicationDirectory) + "/tmp";
    // With adware off the level stays 0 here, unlike in SetScanOptions: the two differ on purpose.
    TakeSettings(settings, 0);
    return CopyToField(options.engineDirectory, applicationDirectory) &&
           CopyToField(options.temporaryDirectory, temporaryDirectory);
}

}  // namespace

int UnLoadScanAPI() {
    if (g_hModScanAPI == nullptr) {
        return 0;
    }
    pfnDeinit();
    FreeEngineLibrary();
    return 1;
}

int Scanner::InitScan(const tagSCNOPTS* settings) {
    if (settings == nullptr) {
        return 0;
    }
    UnLoadScanAPI();
    const std::string_view applicationDirectory = FieldText(g_szAppPath);
    const std::string library = std::string(applicationDirectory) + kScanApiLibrary;
    g_hModScanAPI = ZQLoadLibrary(library.c_str());
    if (g_hModScanAPI == nullptr) {
        return 0;
    }
    if (!LookUpEntryPoints() || !BuildOptions(*settings, applicationDirectory) ||
        pfnInit(&m_ScanOptns) == 0) {
        FreeEngineLibrary();
        return 0;
    }
    if (pfnSetclbk(ZqCallBack) == 0) {
        UnLoadScanAPI();
        return 0;
    }
    return 1;
}

int Scanner::SetScanOptions(const tagSCNOPTS* settings) {
    if (settings == nullptr) {
        return 0;
    }
    TakeSettings(*settings, kAdwareOff);
    if (pfnSetoptns != nullptr) {
        pfnSetoptns(&m_ScanOptns);
    }
    return 1;
}

int Scanner::ResetFPTFlags() {
    if (pfnResetFPTFlags != nullptr) {
        pfnResetFPTFlags();
    }
    return 1;
}

int Scanner::DestroyScan() {
    return UnLoadScanAPI();
}

Scanner::~Scanner() {
    m_fileName[0] = '\0';
    m_reserved1 = m_handle = m_reserved2 = 0;
}

int Scanner::Open(const char* name) {
    if (name == nullptr || pfnOpen == nullptr || !CopyToField(m_fileName, name)) {
        return 0;
    }
    const int status = pfnOpen(m_fileName, &m_handle);
    return status != kOpenFailed && status != kOpenRefused && m_handle != 0 ? 1 : 0;
}

int Scanner::Scan(QDialog* dialog) {
    if (dialog == nullptr || pfnScan == nullptr) {
        return 0;
    }
    return pfnScan(m_handle, dialog) == 1 ? 1 : 0;
}

int Scanner::Close() {
    return pfnClose != nullptr && pfnClose(&m_handle) != 0 ? 1 : 0;
}

int Scanner::Clean() {
    return 1;
}
