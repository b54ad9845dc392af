#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "abi/scanapi.h"
#include "common/run_state.h"

namespace scan {

/// The engine's library, its nine entry points and a tenth that it may lack. A process has one
/// engine: its handle and its version entry point are globals that other code links, and the other
/// entry points lie beside the functions of the class.
///
/// Nothing that the engine throws gets past here. Such a call has failed, and the log says which it
/// was. Starting and unloading belong to one thread while no file is open; the others to the scan
/// thread, SetOptions and ForgetDetections also to the first while no scan runs.
class EngineLibrary {
public:
    /// Loads the library and looks its entry points up; an engine already loaded is unloaded first.
    /// False with nothing loaded when the library or one of the nine is missing.
    bool Load(const char* path);

    /// Why Load() failed: the loader's words, or which entry point is missing.
    [[nodiscard]] const std::string& Problem() const { return m_problem; }

    /// Starts the loaded engine and registers the callback. False with the library freed when the
    /// engine refuses either.
    bool Start(tagSCANAPI_OPTIONS& options, PFNZQCALLBACK callback);

    /// Ends the engine and frees its library. False when none is loaded.
    bool Unload();

    /// Frees the library of an engine that was not started.
    void Free();

    // Without an engine these do nothing, and what has a result fails.

    /// The engine keeps no pointer to the record.
    void SetOptions(tagSCANAPI_OPTIONS& options);

    /// Makes the engine forget what it remembers of earlier detections.
    void ForgetDetections();

    /// Opens a file, named by bytes. False when it is refused or gets no handle.
    bool Open(const char* name, std::uint64_t& handle);

    /// Scans an open file; the engine hands `context` to the callback meanwhile. False unless the
    /// engine says that it got through.
    bool Scan(std::uint64_t handle, void* context);

    /// Closes a file. False unless the engine says that it did.
    bool Close(std::uint64_t& handle);

    /// Tells of files that come next, as PFNFILESAHEAD says; without names that all is off. Nothing
    /// happens where the engine does not want to know.
    void FilesAhead(int folder, const char* path, std::span<const char* const> names);

private:
    template <typename Function>
    bool LookUp(const char* symbol, Function& pointer);
    bool LookUpEntryPoints();

    void*& m_library = g_hModScanAPI;
    std::string m_problem;
};

}  // namespace scan
