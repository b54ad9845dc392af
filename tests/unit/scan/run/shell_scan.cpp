#include "tests/unit/scan/run/shell_scan.h"

#include "scan/run/plain_counting_thread.h"

std::vector<std::string> happened;

// The linker sends the scan's calls of ZQVRAddRecVirusReport here (--wrap).
bool WrappedAddRecord(unsigned int component, const char* file, const char* virus,
                      const char* action) asm("__wrap__Z21ZQVRAddRecVirusReportjPKcS0_S0_");
bool WrappedAddRecord(unsigned int /*component*/, const char* file, const char* /*virus*/,
                      const char* action) {
    happened.push_back("log " + std::string(file) + ": " + action);
    return true;
}

namespace {

int OnMessage(const tagZQFILEINFO* info, void* context) noexcept {
    return static_cast<scan::ScanRun*>(context)->Reply(*info);
}

}  // namespace

ShellScan::ShellScan() {
    MakeReportFiles(m_application.Path());
    common::CopyToField(g_szAppPath, m_application.Path());
    common::CopyToField(g_szLogFile, m_logFile);
    MakeFolder(m_top);
    g_scnopts = {kActionReportOnly, 0};
    scan::ScanRun::ForgetDetections();
    happened.clear();
}

ShellScan::~ShellScan() {
    m_library.Unload();
    g_pRptObj.reset();
    common::FreePathList(m_head, m_tail);
    g_szLogFile[0] = '\0';
    StopCount = false;
}

bool ShellScan::StartEngine(const std::string& script, const std::string& variant) {
    return StartEngineIn(FakeEngine::Variant(variant), script);
}

bool ShellScan::StartEngineIn(const std::string& directory, const std::string& script) {
    m_engine.SetScript(script);
    return m_library.Load((directory + kScanApiLibrary).c_str()) &&
           scan::BuildEngineOptions(m_options, g_scnopts, directory) &&
           m_library.Start(m_options, OnMessage);
}

void ShellScan::Scan() {
    g_pRptObj = std::make_unique<ReportGen>(m_head);
    m_run.SetPaths(m_head);
    m_run.ForgetTotal();
    scan::PlainCountingThread counting(m_run);
    m_run.Begin();
    m_run.Scan(counting);
}

void ShellScan::Tell(const scan::ScanStep& step) {
    const std::scoped_lock lock(m_telling);
    std::string line = std::to_string(step.type);
    if (step.text != nullptr) {
        line += std::string(" ") + step.text;
    }
    if (step.info != nullptr) {
        line += std::string(" ") + step.info->fileName;
    }
    happened.push_back(line);
    m_run.Apply(step);
    m_onStep(step);
}

void ShellScan::Ask(const scan::ScanStep& question) {
    Tell(question);
    m_onQuestion(question);
    m_run.Answer();
}

bool ShellScan::ScanFile(const char* path) {
    std::uint64_t handle = 0;
    if (!m_library.Open(path, handle)) {
        return false;
    }
    m_library.Scan(handle, &m_run);
    m_library.Close(handle);
    return true;
}

void ShellScan::SendOptions() {
    scan::RefreshEngineOptions(m_options, g_scnopts);
    m_library.SetOptions(m_options);
}

void ShellScan::FilesAhead(int folder, const char* path, std::span<const char* const> names) {
    m_library.FilesAhead(folder, path, names);
}
