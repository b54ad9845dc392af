#include "product/shellscan/shell_engine.h"

#include "common/log.h"
#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "scan/run/engine_options.h"
#include "scan/run/scan_run.h"

namespace shellscan {

bool ShellEngine::Start(std::string& problem) {
    const std::string path = common::InProgramDirectory(kScanApiLibrary);
    if (!m_library.Load(path.c_str())) {
        problem = "the scan engine " + path + " cannot be used: " + m_library.Problem();
        return false;
    }
    if (!scan::BuildEngineOptions(m_options, g_scnopts, common::FieldText(g_szAppPath))) {
        m_library.Free();
        problem = "the path of the program's directory is too long for the scan engine";
        return false;
    }
    if (!m_library.Start(m_options, m_callback)) {
        problem = std::string("the scan engine did not start: it may have no virus definitions; ") +
                  common::kCommonLog + " says more";
        return false;
    }
    // What the main window does before each scan.
    scan::ScanRun::ForgetDetections();
    SendOptions();
    m_library.ForgetDetections();
    return true;
}

bool ShellEngine::ScanFile(const char* path) {
    std::uint64_t handle = 0;
    if (!m_library.Open(path, handle)) {
        m_onRefused(path);
        return false;
    }
    m_library.Scan(handle, m_context);
    m_library.Close(handle);
    return true;
}

void ShellEngine::SendOptions() {
    scan::RefreshEngineOptions(m_options, g_scnopts);
    m_library.SetOptions(m_options);
}

}  // namespace shellscan
