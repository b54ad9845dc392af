#pragma once

#include <span>

#include "abi/scanapi.h"

namespace scan {

/// What a scan wants of the engine. Scan thread.
class ScanEngine {
public:
    ScanEngine() = default;
    virtual ~ScanEngine() = default;
    ScanEngine(const ScanEngine&) = delete;
    ScanEngine& operator=(const ScanEngine&) = delete;

    /// Has one file opened, scanned and closed; what the engine says meanwhile goes to
    /// ScanRun::Reply. False when it could not be opened.
    virtual bool ScanFile(const char* path) = 0;

    /// The options that the engine works with.
    virtual tagSCANAPI_OPTIONS& Options() = 0;

    /// Tells the engine the options and the settings in force, between two files.
    virtual void SendOptions() = 0;

    /// Tells the engine which files come next, between two files; see EngineLibrary::FilesAhead.
    virtual void FilesAhead(int folder, const char* path, std::span<const char* const> names) = 0;
};

}  // namespace scan
