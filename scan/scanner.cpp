#include "scan/scanner.h"

#include <string>
#include <string_view>

#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "scan/engine_callback.h"
#include "scan/run/engine_library.h"
#include "scan/run/engine_options.h"

tagSCANAPI_OPTIONS Scanner::m_ScanOptns{};
std::int16_t Scanner::m_shAction = 0;

namespace {

scan::EngineLibrary engine;

}  // namespace

int UnLoadScanAPI() {
    return engine.Unload() ? 1 : 0;
}

int Scanner::InitScan(const tagSCNOPTS* settings) {
    if (settings == nullptr) {
        return 0;
    }
    const std::string_view applicationDirectory = common::FieldText(g_szAppPath);
    if (!engine.Load(common::InProgramDirectory(kScanApiLibrary).c_str())) {
        return 0;
    }
    m_shAction = static_cast<std::int16_t>(settings->action);
    if (!scan::BuildEngineOptions(m_ScanOptns, *settings, applicationDirectory)) {
        engine.Free();
        return 0;
    }
    return engine.Start(m_ScanOptns, ZqCallBack) ? 1 : 0;
}

int Scanner::SetScanOptions(const tagSCNOPTS* settings) {
    if (settings == nullptr) {
        return 0;
    }
    scan::RefreshEngineOptions(m_ScanOptns, *settings);
    m_shAction = static_cast<std::int16_t>(settings->action);
    engine.SetOptions(m_ScanOptns);
    return 1;
}

int Scanner::ResetFPTFlags() {
    engine.ForgetDetections();
    return 1;
}

void Scanner::FilesAhead(int folder, const char* path, std::span<const char* const> names) {
    engine.FilesAhead(folder, path, names);
}

int Scanner::DestroyScan() {
    return UnLoadScanAPI();
}

Scanner::~Scanner() {
    m_fileName[0] = '\0';
    m_reserved1 = m_handle = m_reserved2 = 0;
}

int Scanner::Open(const char* name) {
    return name != nullptr && common::CopyToField(m_fileName, name) &&
                   engine.Open(m_fileName, m_handle)
               ? 1
               : 0;
}

int Scanner::Scan(QDialog* dialog) {
    return dialog != nullptr && engine.Scan(m_handle, dialog) ? 1 : 0;
}

int Scanner::Close() {
    return engine.Close(m_handle) ? 1 : 0;
}

int Scanner::Clean() {
    return 1;
}
