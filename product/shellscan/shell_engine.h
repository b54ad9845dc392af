#pragma once

#include <functional>
#include <string>

#include "scan/run/engine_library.h"
#include "scan/run/scan_engine.h"

namespace shellscan {

/// The engine of a scan without a window. One thread; the engine calls `callback` with `context`.
class ShellEngine : public scan::ScanEngine {
public:
    ShellEngine(PFNZQCALLBACK callback, void* context) : m_callback(callback), m_context(context) {}

    /// Is called with each file that the engine does not open.
    void SetOnRefused(std::function<void(const char* path)> onRefused) {
        m_onRefused = std::move(onRefused);
    }

    /// Loads the engine of the program's directory, starts it and gets it ready for a run with the
    /// settings in force. False with the reason.
    bool Start(std::string& problem);

    /// Ends the engine.
    void End() { m_library.Unload(); }

    bool ScanFile(const char* path) override;
    tagSCANAPI_OPTIONS& Options() override { return m_options; }
    void SendOptions() override;
    void FilesAhead(int folder, const char* path, std::span<const char* const> names) override {
        m_library.FilesAhead(folder, path, names);
    }

private:
    PFNZQCALLBACK m_callback;
    void* m_context;
    std::function<void(const char* path)> m_onRefused;
    scan::EngineLibrary m_library;
    tagSCANAPI_OPTIONS m_options{};
};

}  // namespace shellscan
