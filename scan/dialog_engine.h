#pragma once

#include "scan/run/scan_engine.h"

class QDialog;

/// The program's engine for the scan of one progress dialog, which the engine is given as the
/// context of its callbacks.
class DialogEngine : public scan::ScanEngine {
public:
    explicit DialogEngine(QDialog* dialog) : m_dialog(dialog) {}

    bool ScanFile(const char* path) override;
    tagSCANAPI_OPTIONS& Options() override;
    void SendOptions() override;
    void FilesAhead(int folder, const char* path, std::span<const char* const> names) override;

private:
    QDialog* m_dialog;
};
