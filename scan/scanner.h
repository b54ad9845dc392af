#pragma once

#include <cstdint>
#include <span>

#include "abi/scanapi.h"
#include "common/scan_settings.h"

class QDialog;

/// Ends the engine and unloads its library. 0 when none is loaded, else 1. GUI thread, no scan
/// running.
int UnLoadScanAPI();

/// The bridge to the scan engine. The static members work on the one engine of the process, an
/// object is one file on its way through it.
class Scanner {
public:
    Scanner() = default;
    ~Scanner();
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    /// Loads "scanapi.so" from the application directory and starts it with these settings; an
    /// engine already loaded is unloaded first. 1, or 0 with no engine loaded: null settings,
    /// library or an entry point missing, a directory too long for its field, or refused by the
    /// engine. GUI thread.
    static int InitScan(const tagSCNOPTS* settings);

    /// Hands changed settings to the engine, with all other options as they are in m_ScanOptns.
    /// 0 for null, else 1. GUI thread while no scan runs, or the scan thread between two files.
    static int SetScanOptions(const tagSCNOPTS* settings);

    /// Makes the engine forget what it remembers of earlier detections. Always 1.
    static int ResetFPTFlags();

    /// Tells the engine which files come next; see EngineLibrary::FilesAhead. Scan thread, between
    /// two files.
    static void FilesAhead(int folder, const char* path, std::span<const char* const> names);

    /// UnLoadScanAPI().
    static int DestroyScan();

    /// Opens a file, named by bytes. 1, or 0 when it cannot be scanned: null, a name of 1,024 bytes
    /// or more (a cut name would be another file) or refused by the engine. Scan thread, as all
    /// that follow.
    int Open(const char* name);

    /// Scans the open file; the engine calls ZqCallBack meanwhile. `dialog` is the ScanDialog of
    /// the scan. 1 when the engine got through, else 0.
    int Scan(QDialog* dialog);

    /// Closes the file. 1 when the engine says so, else 0.
    int Close();

    /// Nothing: files are cleaned by the engine while it scans them. Always 1.
    static int Clean();

    /// The engine's options. The engine keeps no pointer to them. Changed on the GUI thread while
    /// no scan runs, else on the scan thread.
    static tagSCANAPI_OPTIONS m_ScanOptns;

    /// The settings' action as the engine was started with or last told.
    static std::int16_t m_shAction;

private:
    char m_fileName[kEngineFileNameSize]{};
    std::uint64_t m_reserved1 = 0;
    std::uint64_t m_handle = 0;  ///< the engine's, 0 when no file is open
    std::uint64_t m_reserved2 = 0;
};
