#include "scan/dialog_engine.h"

#include "common/run_state.h"
#include "scan/scanner.h"

bool DialogEngine::ScanFile(const char* path) {
    Scanner scanner;
    if (scanner.Open(path) == 0) {
        return false;
    }
    scanner.Scan(m_dialog);
    scanner.Close();
    return true;
}

tagSCANAPI_OPTIONS& DialogEngine::Options() {
    return Scanner::m_ScanOptns;
}

void DialogEngine::SendOptions() {
    Scanner::SetScanOptions(&g_scnopts);
}

void DialogEngine::FilesAhead(int folder, const char* path, std::span<const char* const> names) {
    Scanner::FilesAhead(folder, path, names);
}
